#include "CaptureEngine/CaptureInterruptedModel.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <utility>

#include "CaptureEngine/RecoveryPromptBuilder.h"
#include "Core/ByteSize.h"
#include "Core/Error.h"
#include "Core/SystemWords.h"
#include "MediaKit/Reading/AssetProbe.h"

namespace quillant {

namespace {

struct MinutesAndSeconds {
  std::int64_t minutes = 0;
  std::int64_t seconds = 0;
};

MinutesAndSeconds rounded(double duration) {
  constexpr double longest = 9e15;  // whole seconds are exact up to here
  const auto seconds = static_cast<std::int64_t>(std::round(std::min(duration, longest)));
  return {seconds / 60, seconds % 60};
}

double savedSeconds(const std::filesystem::path& video) {
  try {
    const double seconds = AssetProbe::probe(video).duration.seconds();
    return std::isfinite(seconds) && seconds >= 0 ? seconds : 0;
  } catch (const Error&) {
    return 0;
  }
}

Task<CaptureInterruptedModel> read(FailureCause cause, std::filesystem::path screenVideo,
                                   std::optional<std::string> lowDiskFreeDescription) {
  co_return CaptureInterruptedModel{.cause = cause,
                                    .duration = savedSeconds(screenVideo),
                                    .sizeBytes = RecoveryPromptBuilder::fileSize(screenVideo),
                                    .lowDiskFreeDescription = std::move(lowDiskFreeDescription)};
}

}  // namespace

Task<CaptureInterruptedModel> CaptureInterruptedModel::make(
    FailureCause cause, std::filesystem::path screenVideo,
    std::optional<std::string> lowDiskFreeDescription) {
  return runOn(backgroundExecutor(), read(cause, std::move(screenVideo), std::move(lowDiskFreeDescription)));
}

std::string CaptureInterruptedModel::eyebrow() const {
  return "CAUGHT & SAVED";
}

std::string CaptureInterruptedModel::headline() const {
  return cause == FailureCause::diskSpace
             ? fmt::format("Recording stopped — {} reclaimed disk space", SystemWords::system)
             : "Recording stopped unexpectedly";
}

std::string CaptureInterruptedModel::body() const {
  return cause == FailureCause::diskSpace
             ? fmt::format(
                   "{} freed up storage while you were recording and ended the screen-capture "
                   "session. That’s out of our hands — but we saw it happen and wrote everything to "
                   "disk immediately.",
                   SystemWords::sentenceSystem)
             : "The screen-capture session ended before you stopped it. We saved what we captured — every "
               "frame up to that point is safe on disk.";
}

std::string CaptureInterruptedModel::reassurance() const {
  return "Every frame before the interruption is intact";
}

std::string CaptureInterruptedModel::clock() const {
  const auto [minutes, seconds] = rounded(duration);
  return fmt::format("{}:{:02}", minutes, seconds);
}

std::string CaptureInterruptedModel::savedUpToLabel() const {
  return "Saved everything up to " + clock();
}

std::string CaptureInterruptedModel::metaLine() const {
  const auto [minutes, seconds] = rounded(duration);
  const auto length = fmt::format("{} min {:02} sec", minutes, seconds);
  return sizeBytes ? length + " · " + ByteSize::fileSize(*sizeBytes) : length;
}

std::string CaptureInterruptedModel::lowDiskLine() const {
  return fmt::format(
      "You’re at {} free. Clearing a little space keeps {} from interrupting future recordings.",
      lowDiskFreeDescription.value_or(""), SystemWords::system);
}

}  // namespace quillant
