#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "Core/Error.h"

namespace quillant {

/// A file that could not be read or written.
class FileError : public Error {
 public:
  /// "could not write /a/b.json: No space left on device".
  FileError(std::string_view action, const std::filesystem::path& path, std::error_code code);
  std::error_code code() const { return code_; }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::error_code code_;
  std::filesystem::path path_;
};

/// Whole files, all or nothing. Blocking; throws `FileError`.
namespace AtomicFile {

/// Replaces `path` so that a crash at any moment leaves the old or the new contents, whole: a temporary file
/// in the same folder, fsync, rename, fsync of the folder. The new file has `mode`; without one that of the
/// file that it replaces, and where there is none, what the user's umask allows. On failure no temporary file
/// stays behind.
void write(const std::filesystem::path& path, std::string_view contents,
           std::optional<unsigned> mode = std::nullopt);

/// Removes what writes of `path` have left behind whose process was killed. Only for who knows that nobody
/// writes it meanwhile. Throws nothing.
void removeTemporaries(const std::filesystem::path& path) noexcept;

/// The whole file; one larger than `limit` bytes is refused with `file_too_large`. What is no file, such as a
/// pipe that would have to be waited for, is refused.
std::string read(const std::filesystem::path& path, std::size_t limit = std::size_t{1} << 30);

/// Whether a file of this name may be what `write` left behind when its process was killed.
bool isTemporary(std::string_view name);

}  // namespace AtomicFile
}  // namespace quillant
