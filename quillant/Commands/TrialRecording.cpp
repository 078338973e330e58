#include "quillant/Commands/TrialRecording.h"

#include <cstdlib>
#include <utility>
#include <variant>

#include "CaptureEngine/RecordingCoordinator.h"
#include "MediaKit/Reading/FrameGrabber.h"
#include "quillant/Commands/SelfCheck.h"

namespace quillant {

namespace {

using Coordinator = RecordingCoordinator;

constexpr double trialSeconds = 1;

std::filesystem::path makeFolder() {
  std::error_code error;
  std::string pattern = (std::filesystem::temp_directory_path(error) / "quillant-check-XXXXXX").string();
  if (error || !::mkdtemp(pattern.data()))
    throw SelfCheck::Failure(ExitCode::failure, "no folder can be made in the place of " + pattern);
  return pattern;
}

struct ArtifactsOf {
  RecordingArtifacts operator()(const Coordinator::Completed& outcome) const { return outcome.artifacts; }
  RecordingArtifacts operator()(const Coordinator::FailedToStart& outcome) const {
    throw SelfCheck::Failure(ExitCode::noPermission, "could not start recording: " + outcome.reason);
  }
  RecordingArtifacts operator()(const Coordinator::SessionFailed& outcome) const {
    throw SelfCheck::Failure(ExitCode::failure, "recording failed mid-capture: " + outcome.reason);
  }
  RecordingArtifacts operator()(const Coordinator::Discarded&) const {
    throw SelfCheck::Failure(ExitCode::failure, "recording discarded");
  }
};

}  // namespace

TrialRecording::TrialRecording(const CaptureServices& services, CaptureOptions options)
    : folder_(makeFolder()) {
  options.outputURL = folder_ / "trial.mp4";
  artifacts_ = std::visit(ArtifactsOf{}, runBlocking(Coordinator::make(services)->record(
                                             {.options = std::move(options), .duration = trialSeconds})));
}

TrialRecording::~TrialRecording() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

PixelBufferRef TrialRecording::firstPicture() const {
  try {
    return FrameGrabber::grab(artifacts_.screenVideo, MediaTime::zero(), {.toleranceAfter = {1, 1}}).picture;
  } catch (const Error& error) {
    throw SelfCheck::Failure(ExitCode::failure, error.description());
  }
}

}  // namespace quillant
