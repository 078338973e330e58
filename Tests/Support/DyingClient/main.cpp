// The cloud commands as the program has them, with an account, a video and a poster of the test's, and no
// desktop.
//
//     TEST_TOKEN    the token of the account; nobody is signed in without
//     TEST_POSTER   the file that stands for the poster of any video
//     TEST_DIE      "save 3 before", "save 3 after", "removal 1 before": at which replacement or removal of
//     an
//                   entry of the queue the process is killed, and on which side of it

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <string>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>

#include "Linux/Http/CurlHttpClient.h"
#include "Tests/QuillantCloud/CloudFakes.h"
#include "quillant/CloudCLI.h"
#include "quillant/TerminalSignIn.h"

namespace {

using namespace quillant;

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

/// Dies if the test wants it here: at the `count`th time that `what` is done, on this `side` of it.
void dieAt(const char* what, int count, const char* side) {
  if (environment("TEST_DIE") == fmt::format("{} {} {}", what, count, side)) ::kill(::getpid(), SIGKILL);
}

bool isEntry(const char* path) {
  const std::string_view text(path);
  return text.find("pending-uploads-") != std::string_view::npos && text.ends_with(".json");
}

/// Does what `act` does, and dies before or after it.
template <class Act>
int actOnEntry(const char* what, int& count, const char* path, Act&& act) {
  if (!isEntry(path)) return act();
  ++count;
  dieAt(what, count, "before");
  const int result = act();
  dieAt(what, count, "after");
  return result;
}

int saves = 0;
int removals = 0;

class NoClipboard : public ClipboardWriting {
 public:
  Task<bool> write(std::string) override { co_return false; }
};

CloudServices makeServices() {
  const auto secrets = std::make_shared<MemorySecrets>();
  if (const auto token = environment("TEST_TOKEN"); !token.empty())
    secrets->secrets["com.quillant.desktop/desktop-token-dev"] = token;
  return {.http = CurlHttpClient::make(),
          .secrets = secrets,
          .signInPage = std::make_shared<TerminalSignIn>(),
          .clipboard = std::make_shared<NoClipboard>(),
          .probe =
              [](const std::filesystem::path& video) {
                const auto size = static_cast<std::int64_t>(std::filesystem::file_size(video));
                return VideoFacts{.sizeBytes = size, .durationMs = 2000, .width = 640, .height = 360};
              },
          .makePoster =
              [](const std::filesystem::path&, const std::filesystem::path& poster) {
                std::filesystem::copy_file(environment("TEST_POSTER"), poster);
              }};
}

}  // namespace

// These take the place of the C library's own, for this program and for the libraries that it loads.

extern "C" int rename(const char* from, const char* to) noexcept {
  return actOnEntry("save", saves, to, [&] { return static_cast<int>(::syscall(SYS_rename, from, to)); });
}

extern "C" int remove(const char* path) noexcept {
  return actOnEntry("removal", removals, path, [&] { return ::unlink(path); });
}

int main(int count, char** words) {
  CloudCLI command(makeServices);
  const Arguments arguments(words, words + count);
  return command.shouldRun(arguments) ? command.run(arguments) : ExitCode::usage;
}
