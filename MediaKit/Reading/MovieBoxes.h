#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <vector>

/// The boxes of which MP4 and QuickTime files are built. What is read may be torn or hostile: every function
/// throws `MediaError` of kind unreadable for what it cannot parse, and terminates.
namespace quillant::MovieBoxes {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint32_t type(const char (&name)[5]) {
  return (std::uint32_t(std::uint8_t(name[0])) << 24) | (std::uint32_t(std::uint8_t(name[1])) << 16) |
         (std::uint32_t(std::uint8_t(name[2])) << 8) | std::uint32_t(std::uint8_t(name[3]));
}

[[noreturn]] void fail(const char* what);

/// Reads big-endian numbers one after another.
class Cursor {
 public:
  explicit Cursor(Bytes bytes) : bytes_(bytes) {}
  std::uint32_t u32() { return static_cast<std::uint32_t>(number(4)); }
  std::uint64_t u64() { return number(8); }
  void skip(std::size_t count) { take(count); }
  Bytes take(std::size_t count);
  std::size_t remaining() const { return bytes_.size(); }

 private:
  std::uint64_t number(std::size_t count);
  Bytes bytes_;
};

struct Box {
  std::uint32_t type = 0;
  Bytes whole;
  Bytes payload;
};

std::vector<Box> children(Bytes bytes);
/// The payload of the first box of this type; throws if there is none.
Bytes child(Bytes bytes, std::uint32_t type);
std::optional<Bytes> findChild(Bytes bytes, std::uint32_t type);

/// A box in a file, by its place.
struct FileBox {
  std::uint32_t type = 0;
  std::uint64_t offset = 0;
  std::uint64_t payload = 0;  ///< Offset of what follows its head.
  std::uint64_t end = 0;
};

/// An open file, by its descriptor, up to `size`. Throws `FileError` too, when the disk refuses to read.
struct File {
  int descriptor = -1;
  std::uint64_t size = 0;
  std::filesystem::path path;  ///< For what errors tell.

  /// The box at `offset`; none at the file's end, and none where only part of a box is there.
  std::optional<FileBox> box(std::uint64_t offset) const;
  std::vector<std::uint8_t> read(std::uint64_t begin, std::uint64_t end) const;
};

}  // namespace quillant::MovieBoxes
