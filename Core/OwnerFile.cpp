#include "Core/OwnerFile.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <fmt/format.h>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "Core/AtomicFile.h"
#include "Core/FileDescriptor.h"
#include "Core/UUID.h"

namespace quillant {

namespace {

constexpr mode_t whatTheUmaskAllows = 0666;
constexpr std::size_t longestText = 4096;
constexpr std::chrono::seconds longestMaking(60);

std::string contentsOf(const std::filesystem::path& path) {
  try {
    return AtomicFile::read(path, longestText);
  } catch (const FileError&) {
    return {};
  }
}

/// This run of this machine, and in it whom process numbers mean something to. No blanks.
std::string machine() {
  auto id = contentsOf("/proc/sys/kernel/random/boot_id");
  std::erase(id, '\n');
  std::error_code ignored;
  return id + "/" + std::filesystem::read_symlink("/proc/self/ns/pid", ignored).string();
}

/// When a process started, as a number that no later one of its number shares; empty if it is gone.
std::string startOf(pid_t process) {
  const auto text = contentsOf(fmt::format("/proc/{}/stat", process));
  // Behind the program's name, which may hold anything, the start is the twentieth word.
  constexpr int wordsBefore = 20;
  auto position = text.rfind(')');
  for (int word = 0; word < wordsBefore && position != std::string::npos; ++word)
    position = text.find(' ', position + 1);
  if (position == std::string::npos) return {};
  return text.substr(position + 1, text.find(' ', position + 1) - position - 1);
}

struct Owner {
  bool isHere = false;
  pid_t process = 0;
  bool isGone = false;  ///< Known only of a process that ran here.
};

Owner ownerIn(const std::string& identity) {
  const auto here = machine() + " ";
  Owner owner;
  if (!identity.starts_with(here)) return owner;
  const std::string_view rest = std::string_view(identity).substr(here.size());
  const auto* end = rest.data() + rest.size();
  const auto [blank, error] = std::from_chars(rest.data(), end, owner.process);
  owner.isHere = error == std::errc() && blank != end;
  if (!owner.isHere) return {};
  const auto start = std::string_view(blank, end).substr(1);
  const auto now = startOf(owner.process);
  owner.isGone = now.empty() || start.substr(0, start.find(' ')) != now;
  return owner;
}

std::optional<std::time_t> timeOf(const std::filesystem::path& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return std::nullopt;
  return status.st_mtime;
}

bool isStale(const std::filesystem::path& file, std::time_t now, std::chrono::seconds longestHeld) {
  const auto identity = contentsOf(file);
  const auto owner = ownerIn(identity);
  if (owner.isHere) return owner.isGone;
  const auto made = timeOf(file);
  // Whoever made it was killed before it could say who it is.
  if (identity.empty()) longestHeld = std::min(longestHeld, longestMaking);
  // Far in the future too: a clock was wrong when it was made.
  return made && std::abs(now - *made) > longestHeld.count();
}

/// Makes `path`, which nobody else has made, with `contents`. False if it is there already.
bool make(const std::filesystem::path& path, const std::string& contents) {
  const FileDescriptor file(
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, whatTheUmaskAllows));
  if (!file && errno == EEXIST) return false;
  if (!file) throw FileError("lock", path, {errno, std::generic_category()});
  if (::write(file.get(), contents.data(), contents.size()) != static_cast<ssize_t>(contents.size())) {
    const std::error_code error(errno, std::generic_category());
    ::unlink(path.c_str());
    throw FileError("lock", path, error);
  }
  return true;
}

/// Takes the file away that somebody left who died. One process at a time does so, or a second could take
/// away what a third has just made.
void removeStale(const std::filesystem::path& file, const std::string& identity,
                 std::chrono::seconds longestHeld) {
  if (const auto owner = ownerIn(contentsOf(file)); owner.isHere && !owner.isGone) return;
  auto guard = file;
  guard += ".removal";
  if (!make(guard, identity)) {
    if (isStale(guard, std::time(nullptr), longestMaking)) ::unlink(guard.c_str());
    return;
  }
  // By the clock that both files have their times from, which may be a server's.
  const auto now = timeOf(guard);
  if (now && isStale(file, *now, longestHeld)) ::unlink(file.c_str());
  ::unlink(guard.c_str());
}

}  // namespace

OwnerFile::OwnerFile(std::filesystem::path file, std::string identity)
    : file_(std::move(file)), identity_(std::move(identity)) {}

OwnerFile::OwnerFile(OwnerFile&& other) noexcept
    : file_(std::exchange(other.file_, {})), identity_(std::move(other.identity_)) {}

OwnerFile::~OwnerFile() {
  // Held for far too long, it may be somebody else's by now.
  if (!file_.empty() && contentsOf(file_) == identity_) ::unlink(file_.c_str());
}

bool OwnerFile::isNeeded(int error) {
  return error == ENOSYS || error == EOPNOTSUPP || error == EINVAL || error == ENOLCK;
}

std::optional<OwnerFile> OwnerFile::take(std::filesystem::path file, std::chrono::seconds longestHeld) {
  auto identity =
      fmt::format("{} {} {} {}", machine(), ::getpid(), startOf(::getpid()), UUID::random().text());
  if (!make(file, identity)) {
    removeStale(file, identity, longestHeld);
    if (!make(file, identity)) return std::nullopt;
  }
  return OwnerFile(std::move(file), std::move(identity));
}

std::optional<pid_t> OwnerFile::owner(const std::filesystem::path& file) {
  if (!timeOf(file)) return std::nullopt;
  const auto owner = ownerIn(contentsOf(file));
  return owner.isGone ? std::nullopt : std::optional(owner.process);
}

}  // namespace quillant
