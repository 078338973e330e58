// Takes the place of the C library's functions that replace and remove files, for the program and the
// libraries that it loads, and kills the process where TEST_DIE says: "save 3 before", "save 3 after",
// "removal 1 before" is the replacement or removal of an entry of the upload queue, and the side of it.

#include <csignal>
#include <cstdlib>
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

bool isEntry(std::string_view path) {
  return path.find("pending-uploads-") != std::string_view::npos && path.ends_with(".json");
}

/// Does what `act` does, and dies before or after it.
template <class Act>
int actOnEntry(const char* what, int& count, const char* path, Act&& act) {
  if (!isEntry(path)) return act();
  dieAt(what, ++count, "before");
  const int result = act();
  dieAt(what, count, "after");
  return result;
}

int saves = 0;
int removals = 0;

}  // namespace

extern "C" int rename(const char* from, const char* to) noexcept {
  return actOnEntry("save", saves, to, [&] { return static_cast<int>(::syscall(SYS_rename, from, to)); });
}

extern "C" int remove(const char* path) noexcept {
  return actOnEntry("removal", removals, path, [&] { return ::unlink(path); });
}
