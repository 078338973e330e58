#include "Editor/Composition/VideoBackgroundCompositionInstruction.h"

#include <algorithm>
#include <cmath>

namespace quillant {

namespace {

constexpr double shortestTimeRange = 0.001;

}  // namespace

TimelineSpan VideoBackgroundCompositionInstruction::timeRange() const {
  return {0, std::max(edit->plan().outputDuration, shortestTimeRange)};
}

const VideoBackgroundCompositionInstruction& VideoBackgroundCompositionInstruction::of(
    PreparedEdit::SourceNumber number) const {
  const bool has = number < sourceInstructions.size() && sourceInstructions[number];
  return has ? *sourceInstructions[number] : *this;
}

VideoBackgroundCompositionInstruction::RequiredPictures
VideoBackgroundCompositionInstruction::requiredPictures(double outputTime) const {
  const auto& shown = of(edit->source(outputTime));
  RequiredPictures result{.sourceTrackID = shown.sourceTrackID,
                          .sourceTime = edit->sourceTime(shown.source, outputTime).value_or(outputTime)};
  if (!shown.facecamTrackID || !edit->cameraFullScreenAmount(outputTime) ||
      !edit->activeCameraSettings(shown.source, result.sourceTime))
    return result;
  if (const auto time = edit->cameraFrameTime(shown.source, outputTime)) {
    result.facecamTrackID = shown.facecamTrackID;
    result.facecamTime = *time;
  }
  return result;
}

PictureOrientation PictureOrientation::of(const Size& stored, const AffineTransform& matrix,
                                          double pixelAspect) {
  const double aspect = std::isfinite(pixelAspect) && pixelAspect > 0 ? pixelAspect : 1;
  const auto sign = [](double value) { return value < 0 ? -1.0 : value > 0 ? 1.0 : 0.0; };
  AffineTransform turn{sign(matrix.a), sign(matrix.b), sign(matrix.c), sign(matrix.d), 0, 0};
  if (!turn.keepsRectangles() || turn.determinant() == 0) turn = {};
  const auto whole = AffineTransform::scale(aspect, 1).then(turn);
  const Rect bounds = whole.bounds({0, 0, stored.width, stored.height});
  return {whole.then(AffineTransform::translation(-bounds.x, -bounds.y)), {bounds.width, bounds.height}};
}

}  // namespace quillant
