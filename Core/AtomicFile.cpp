#include "Core/AtomicFile.h"

#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Core/FileDescriptor.h"
#include "Core/Folder.h"
#include "Core/UUID.h"

namespace quillant {

namespace {

std::error_code lastError() {
  return {errno, std::generic_category()};
}

/// How the names of the temporary files begin that come before `path`; `randomLength` letters follow.
std::string temporaryPrefix(const std::filesystem::path& path) {
  return "." + path.filename().string() + ".";
}

constexpr std::size_t randomLength = 6;

/// Makes a fresh file beside `path`. The name is put into `name`.
FileDescriptor createBeside(const std::filesystem::path& path, mode_t mode, std::string& name) {
  constexpr int tries = 100;
  FileDescriptor file;
  for (int i = 0; !file && (i == 0 || (errno == EEXIST && i < tries)); ++i) {
    const auto random = UUID::random().text().substr(0, randomLength);
    name = (Folder::of(path) / (temporaryPrefix(path) + random)).string();
    file = FileDescriptor(::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
  }
  return file;
}

std::optional<mode_t> modeOf(const std::filesystem::path& path) {
  struct stat status {};
  const bool isFile = ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
  return isFile ? std::optional(status.st_mode & 07777) : std::nullopt;
}

bool writeAll(int fd, std::string_view contents) {
  while (!contents.empty()) {
    const auto written = ::write(fd, contents.data(), contents.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    contents.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace

FileError::FileError(std::string_view action, const std::filesystem::path& path, std::error_code code)
    : Error(fmt::format("could not {} {}: {}", action, path.string(), code.message())),
      code_(code),
      path_(path) {}

namespace AtomicFile {

void write(const std::filesystem::path& path, std::string_view contents, std::optional<unsigned> mode) {
  constexpr mode_t ownersOnly = 0600;
  constexpr mode_t whatTheUmaskAllows = 0666;
  const auto kept = mode ? std::nullopt : modeOf(path);
  std::string temporary;
  FileDescriptor file = createBeside(path, mode || kept ? ownersOnly : whatTheUmaskAllows, temporary);
  if (!file) throw FileError("write", path, lastError());
  // Some file systems know no modes: there a kept one cannot be set and need not be.
  if (kept && ::fchmod(file.get(), *kept) != 0) errno = 0;
  const bool written = (!mode || ::fchmod(file.get(), *mode) == 0) && writeAll(file.get(), contents) &&
                       ::fsync(file.get()) == 0 && file.close() &&
                       ::rename(temporary.c_str(), path.c_str()) == 0;
  if (!written) {
    const auto error = lastError();
    ::unlink(temporary.c_str());
    throw FileError("write", path, error);
  }
  // The new file is in place; a folder that cannot be synced does not undo that.
  Folder::sync(Folder::of(path));
}

void removeTemporaries(const std::filesystem::path& path) noexcept {
  try {
    const auto prefix = temporaryPrefix(path);
    std::error_code error;
    for (auto file = std::filesystem::directory_iterator(Folder::of(path), error);
         !error && file != std::filesystem::directory_iterator(); file.increment(error)) {
      const auto name = file->path().filename().string();
      if (name.starts_with(prefix) && name.size() == prefix.size() + randomLength)
        ::unlink(file->path().c_str());
    }
  } catch (const std::exception&) {
    // They stay for the next time.
  }
}

std::string read(const std::filesystem::path& path, std::size_t limit) {
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) throw FileError("read", path, lastError());
  if (S_ISDIR(status.st_mode)) throw FileError("read", path, std::make_error_code(std::errc::is_a_directory));
  if (!S_ISREG(status.st_mode))
    throw FileError("read", path, std::make_error_code(std::errc::operation_not_supported));
  std::string contents;
  contents.resize(std::min(limit, static_cast<std::size_t>(status.st_size)) + 1);
  std::size_t size = 0;
  for (;;) {
    const auto count = ::read(file.get(), contents.data() + size, contents.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw FileError("read", path, lastError());
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
    if (size > limit) throw FileError("read", path, std::make_error_code(std::errc::file_too_large));
    if (size == contents.size()) contents.resize(std::min(limit + 1, size * 2));
  }
  contents.resize(size);
  return contents;
}

bool isTemporary(std::string_view name) {
  return name.size() > randomLength + 2 && name.front() == '.' && name[name.size() - randomLength - 1] == '.';
}

}  // namespace AtomicFile
}  // namespace quillant
