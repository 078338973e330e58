// Records one session at any frame rate, which the command line does not offer: scripts/bench measures it.
//   quillant-record-session [--sources] <seconds> <frames a second> <path.mp4>
// --sources adds the microphone, the system's sound and the pointer's track.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <variant>

#include "CaptureEngine/RecordingCoordinator.h"
#include "quillant/PlatformServices.h"

int main(int argc, char** argv) {
  using namespace quillant;
  const bool sources = argc > 1 && std::strcmp(argv[1], "--sources") == 0;
  const char* const* words = argv + (sources ? 2 : 1);
  if (argc != (sources ? 5 : 4)) {
    std::fputs("usage: quillant-record-session [--sources] <seconds> <frames a second> <path.mp4>\n", stderr);
    return 64;
  }
  PlatformServices services;
  const auto coordinator = RecordingCoordinator::make(services.captureServices());
  const auto outcome = runBlocking(coordinator->record({.outputURL = words[2],
                                                        .duration = std::atof(words[0]),
                                                        .mic = sources,
                                                        .systemAudio = sources,
                                                        .telemetry = sources,
                                                        .frameRate = std::atoi(words[1])}));
  if (const auto* failed = std::get_if<RecordingCoordinator::FailedToStart>(&outcome))
    std::fprintf(stderr, "%s\n", failed->reason.c_str());
  const auto* completed = std::get_if<RecordingCoordinator::Completed>(&outcome);
  if (!completed) return 70;
  for (const auto& warning : completed->artifacts.warnings)
    std::fprintf(stderr, "warning: %s\n", warning.c_str());
  return 0;
}
