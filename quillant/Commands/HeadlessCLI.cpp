#include "quillant/Commands/HeadlessCLI.h"

#include <atomic>
#include <fmt/format.h>
#include <utility>
#include <variant>

#include "CaptureEngine/DiskWatch.h"
#include "CaptureEngine/RecoveryService.h"
#include "quillant/Commands/Console.h"
#include "quillant/Commands/ExitCodeBox.h"
#include "quillant/Commands/RecordOptions.h"

namespace quillant {

namespace {

using Coordinator = RecordingCoordinator;

Coordinator::Request makeRequest(const RecordOptions& options) {
  return {.options = {.outputURL = options.output,
                      .displayID = options.display,
                      .mic = options.mic,
                      .micDeviceID = options.micDeviceID,
                      .systemAudio = options.systemAudio,
                      .facecam = options.facecam,
                      .telemetry = options.telemetry},
          .duration = options.duration};
}

void warn(const std::string& warning) {
  Console::tell("warning: " + warning);
}

void describe(const char* prefix, const RecordingArtifacts& artifacts) {
  Console::print(fmt::format("quillant: {} {}", prefix, artifacts.screenVideo.string()));
  if (artifacts.facecam)
    Console::print(
        "quillant: facecam " + artifacts.facecam->string() +
        (artifacts.facecamOffsetMs ? fmt::format(" (offset {} ms)", *artifacts.facecamOffsetMs) : ""));
  if (artifacts.cursorTelemetry) {
    Console::print("quillant: telemetry " + artifacts.cursorTelemetry->string());
    if (const auto& clicks = artifacts.clickDiagnostics)
      Console::print(
          clicks->fromSystemEvents
              ? fmt::format("quillant: clicks from system events; {} shorter than one sample gap",
                            clicks->shortClicks)
              : fmt::format("quillant: clicks from button polling (fallback); {} caught between samples",
                            clicks->shortClicks));
  }
  for (const auto& warning : artifacts.warnings) warn(warning);
}

/// Prints how the session ended, and returns the exit code for it.
struct Report {
  int operator()(const Coordinator::Completed& outcome) const {
    describe("recorded", outcome.artifacts);
    return ExitCode::success;
  }
  int operator()(const Coordinator::Discarded&) const {
    Console::tell("recording discarded");
    return ExitCode::success;
  }
  int operator()(const Coordinator::FailedToStart& outcome) const {
    Console::tell("could not start recording: " + outcome.reason);
    return ExitCode::noPermission;
  }
  int operator()(const Coordinator::SessionFailed& outcome) const {
    Console::tell("recording failed mid-capture: " + outcome.reason);
    describe("partial salvaged at", outcome.salvaged);
    return ExitCode::failure;
  }
};

Task<void> pauseOnce(std::shared_ptr<Coordinator> coordinator, double after, double duration) {
  co_await sleepSeconds(after);
  co_await coordinator->pause();
  Console::writeError(fmt::format("quillant: paused at {}s for {}s\n", after, duration));
  co_await sleepSeconds(duration);
  co_await coordinator->resume();
  Console::tell("resumed");
}

/// Warns before a recording and while it lasts: nobody may be there to be refused.
struct DiskLookout {
  std::filesystem::path output;
  HeadlessCLI::AvailableBytes availableBytes;
  DiskWatch watch;
  std::atomic<bool> hasEnded = false;

  void look() noexcept {
    try {
      if (const auto warning = watch.look(availableBytes(output))) warn(*warning);
    } catch (const std::exception&) {  // the recording is worth more than the warning
    }
  }
  static Task<void> run(std::shared_ptr<DiskLookout> self) {
    constexpr double interval = 1;
    while (co_await sleepSeconds(interval) && !self->hasEnded) self->look();
  }
};

Task<void> record(std::shared_ptr<Coordinator> coordinator, RecordOptions options,
                  HeadlessCLI::AvailableBytes availableBytes, std::shared_ptr<ExitCodeBox> box) {
  if (options.output.extension() != ".mp4")
    warn("recover finds an interrupted recording only if its name ends in .mp4");
  const auto disk = std::make_shared<DiskLookout>();
  disk->output = options.output;
  disk->availableBytes = std::move(availableBytes);
  disk->look();
  startDetached(backgroundExecutor(), DiskLookout::run(disk));
  if (options.pauseAfter && options.pauseDuration)
    startDetached(backgroundExecutor(), pauseOnce(coordinator, *options.pauseAfter, *options.pauseDuration));
  const auto outcome = co_await coordinator->record(makeRequest(options));
  disk->hasEnded = true;
  box->code = std::visit(Report{}, outcome);
}

struct DescribeStatus {
  const RecoverableRecording& recording;
  std::string subject() const {
    return recording.screenVideo.string() +
           (recording.startedAt ? " started " + recording.startedAt->description() : "");
  }
  std::string operator()(const RecoverableRecording::Playable& status) const {
    return fmt::format("quillant: recoverable {} — playable, {:.1f}s", subject(), status.duration);
  }
  std::string operator()(const RecoverableRecording::Unsalvageable& status) const {
    return fmt::format("quillant: unrecoverable {} — {}", subject(), status.reason);
  }
};

}  // namespace

const char* const HeadlessCLI::usage =
    "usage: quillant record --duration <seconds> --output <path.mp4> [--mic] [--mic-device <uniqueID>] "
    "[--system-audio] [--facecam] [--no-telemetry] [--display <displayID>] [--pause-after <s> "
    "--pause-duration <s>]\n"
    "       quillant recover --dir <directory>";

bool HeadlessCLI::shouldRun(const Arguments& arguments) const {
  return claims(arguments, {"record", "recover"});
}

int HeadlessCLI::run(const Arguments& arguments) {
  const std::vector<std::string> words(arguments.begin() + 2, arguments.end());
  return arguments[1] == "recover" ? runRecover(words) : runRecord(words);
}

int HeadlessCLI::runRecord(const std::vector<std::string>& words) {
  const auto box = std::make_shared<ExitCodeBox>();
  try {
    const auto options = RecordOptions::parse(words);
    // Capture needs nothing of the main thread, so that it may sleep until the session has ended.
    runBlocking(record(makeCoordinator_(), options, availableBytes_, box));
  } catch (const RecordOptions::ParseError& error) {
    Console::writeError(fmt::format("quillant: {}\n{}\n", error.description(), usage));
    return ExitCode::usage;
  } catch (const std::exception& error) {
    Console::writeError(fmt::format("quillant: {}\n", error.what()));
  }
  return box->code;
}

int HeadlessCLI::runRecover(const std::vector<std::string>& words) {
  if (words.size() < 2 || words[0] != "--dir") {
    Console::writeError(fmt::format("quillant: recover requires --dir <directory>\n{}\n", usage));
    return ExitCode::usage;
  }
  const auto found = runBlocking(RecoveryService{pathArgument(words[1])}.sweep());
  if (found.empty()) Console::print("quillant: no orphaned recordings found");
  for (const auto& recording : found) Console::print(std::visit(DescribeStatus{recording}, recording.status));
  return ExitCode::success;
}

}  // namespace quillant
