// Records one session as the command line does not offer it: scripts/bench and scripts/measure-sync use it.
//   quillant-record-session [--sources] [--camera] [--pause <at> <for>]...
//                           <seconds> <frames a second> <path.mp4>
// --sources adds the microphone, the system's sound and the pointer's track; --camera adds the camera, and
// prints how many milliseconds its file begins after the screen's; --pause pauses that many seconds after the
// beginning, and prints the host clock, in nanoseconds, at either end.

#include <cstdio>
#include <cstdlib>
#include <fmt/format.h>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "CaptureEngine/RecordingCoordinator.h"
#include "Core/HostClock.h"
#include "quillant/PlatformServices.h"

namespace {

using namespace quillant;

struct Options {
  bool sources = false;
  bool camera = false;
  std::vector<std::pair<double, double>> pauses;
  std::vector<std::string> words;
};

Options parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--sources") {
      options.sources = true;
    } else if (word == "--camera") {
      options.camera = true;
    } else if (word == "--pause" && i + 2 < argc) {
      options.pauses.emplace_back(std::atof(argv[i + 1]), std::atof(argv[i + 2]));
      i += 2;
    } else {
      options.words.push_back(word);
    }
  }
  return options;
}

void tell(const char* what) {
  fmt::print("{} {}\n", what, HostClock::now().value);
  std::fflush(stdout);
}

Task<void> pauseOnce(std::shared_ptr<RecordingCoordinator> coordinator, double after, double duration) {
  co_await sleepSeconds(after);
  co_await coordinator->pause();
  tell("paused");
  co_await sleepSeconds(duration);
  co_await coordinator->resume();
  tell("resumed");
}

}  // namespace

int main(int argc, char** argv) {
  const auto options = parse(argc, argv);
  if (options.words.size() != 3) {
    fmt::print(stderr,
               "usage: quillant-record-session [--sources] [--camera] [--pause <at> <for>]... <seconds> "
               "<frames a second> <path.mp4>\n");
    return 64;
  }
  PlatformServices services;
  const auto coordinator = RecordingCoordinator::make(services.captureServices());
  for (const auto& [after, duration] : options.pauses)
    startDetached(backgroundExecutor(), pauseOnce(coordinator, after, duration));
  const auto outcome = runBlocking(coordinator->record({.options = {.outputURL = options.words[2],
                                                                    .mic = options.sources,
                                                                    .systemAudio = options.sources,
                                                                    .facecam = options.camera,
                                                                    .telemetry = options.sources,
                                                                    .frameRate = std::stoi(options.words[1])},
                                                        .duration = std::stod(options.words[0])}));
  if (const auto* failed = std::get_if<RecordingCoordinator::FailedToStart>(&outcome))
    fmt::print(stderr, "{}\n", failed->reason);
  const auto* completed = std::get_if<RecordingCoordinator::Completed>(&outcome);
  if (!completed) return 70;
  if (options.camera) fmt::print("camera {}\n", completed->artifacts.facecamOffsetMs.value());
  for (const auto& warning : completed->artifacts.warnings) fmt::print(stderr, "warning: {}\n", warning);
  return 0;
}
