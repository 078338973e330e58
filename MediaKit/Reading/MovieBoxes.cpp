#include "MediaKit/Reading/MovieBoxes.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

#include "Core/AtomicFile.h"
#include "MediaKit/MediaError.h"

namespace quillant::MovieBoxes {

namespace {

/// No index of a file of a day comes near; more would only fill the memory.
constexpr std::uint64_t largestIndex = std::uint64_t{1} << 30;

}  // namespace

void fail(const char* what) {
  throw MediaError(MediaError::Kind::unreadable, what);
}

Bytes Cursor::take(std::size_t count) {
  if (count > bytes_.size()) fail("a box of the file's index is too short");
  const auto taken = bytes_.first(count);
  bytes_ = bytes_.subspan(count);
  return taken;
}

std::uint64_t Cursor::number(std::size_t count) {
  std::uint64_t value = 0;
  for (const auto byte : take(count)) value = (value << 8) | byte;
  return value;
}

std::vector<Box> children(Bytes bytes) {
  std::vector<Box> boxes;
  while (bytes.size() >= 8) {
    Cursor cursor(bytes);
    std::uint64_t size = cursor.u32();
    const auto boxType = cursor.u32();
    std::size_t head = 8;
    if (size == 1) {
      size = cursor.u64();
      head = 16;
    } else if (size == 0) {
      size = bytes.size();
    }
    if (size < head || size > bytes.size()) fail("a box reaches beyond the one around it");
    const auto whole = bytes.first(static_cast<std::size_t>(size));
    boxes.push_back({boxType, whole, whole.subspan(head)});
    bytes = bytes.subspan(whole.size());
  }
  return boxes;
}

std::optional<Bytes> findChild(Bytes bytes, std::uint32_t wanted) {
  for (const auto& box : children(bytes))
    if (box.type == wanted) return box.payload;
  return std::nullopt;
}

Bytes child(Bytes bytes, std::uint32_t wanted) {
  const auto found = findChild(bytes, wanted);
  if (!found) fail("a box is missing from the file's index");
  return *found;
}

std::optional<FileBox> File::box(std::uint64_t offset) const {
  if (offset > size || size - offset < 8) return std::nullopt;
  const auto bytes = read(offset, std::min(size, offset + 16));
  Cursor cursor(bytes);
  std::uint64_t length = cursor.u32();
  FileBox box{cursor.u32(), offset, offset + 8, 0};
  if (length == 1) {
    if (cursor.remaining() < 8) return std::nullopt;
    length = cursor.u64();
    box.payload = offset + 16;
  } else if (length == 0 && box.type != 0) {
    length = size - offset;
  }
  if (length < box.payload - offset || length > size - offset) return std::nullopt;
  box.end = offset + length;
  return box;
}

std::vector<std::uint8_t> File::read(std::uint64_t begin, std::uint64_t end) const {
  if (begin > end || end > size || end - begin > largestIndex) fail("a box of the file's index is too large");
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(end - begin));
  std::size_t done = 0;
  while (done < bytes.size()) {
    const auto count =
        ::pread(descriptor, bytes.data() + done, bytes.size() - done, static_cast<off_t>(begin + done));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw FileError("read", path, {errno, std::generic_category()});
    if (count == 0) fail("the file has become shorter");
    done += static_cast<std::size_t>(count);
  }
  return bytes;
}

}  // namespace quillant::MovieBoxes
