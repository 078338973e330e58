// Takes the place of the C library's functions that replace and remove files, for the program and the
// libraries that it loads, and kills the process where TEST_DIE says: "save 3 before", "save 3 after",
// "removal 1 before" is the replacement or removal of an entry of the upload queue, and the side of it;
// "record 1 after" the replacement of a project's document, and "share", "poster" and "captions" that of what
// is made to be sent. And nothing is synced: what a killed process wrote is in the system's cache.

#include <csignal>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

/// Dies if the test wants it here: at the `count`th time that `what` is done, on this `side` of it.
void dieAt(const std::string& what, int count, const char* side) {
  const char* wanted = std::getenv("TEST_DIE");
  if (wanted && what + " " + std::to_string(count) + " " + side == wanted) ::kill(::getpid(), SIGKILL);
}

/// What the replacement of a file is called; nothing if no test asks for it.
std::string_view nameOf(std::string_view path) {
  const auto isIn = [&](std::string_view folder) { return path.find(folder) != std::string_view::npos; };
  for (const std::string_view made : {"share", "poster", "captions"})
    if (isIn("/quillant-" + std::string(made) + "-")) return made;
  if (!path.ends_with(".json") || path.ends_with("index.json")) return "";
  return isIn("pending-uploads-") ? "save" : isIn("projects-") ? "record" : "";
}

/// Does what `act` does, and dies before or after it.
template <class Act>
int actOn(std::string_view what, Act&& act) {
  static std::map<std::string, int, std::less<>> counts;
  if (what.empty()) return act();
  const std::string name(what);
  const int count = ++counts[name];
  dieAt(name, count, "before");
  const int result = act();
  dieAt(name, count, "after");
  return result;
}

}  // namespace

extern "C" int fsync(int) {
  return 0;
}

extern "C" int fdatasync(int) {
  return 0;
}

extern "C" int rename(const char* from, const char* to) noexcept {
  return actOn(nameOf(to), [&] { return static_cast<int>(::syscall(SYS_rename, from, to)); });
}

extern "C" int remove(const char* path) noexcept {
  return actOn(nameOf(path) == "save" ? "removal" : "", [&] { return ::unlink(path); });
}
