#include "Editor/Composition/VideoPlacement.h"

#include <algorithm>

#include "Editor/Composition/VideoInsetGeometry.h"
#include "Editor/Project/VideoCropSelection.h"

namespace quillant {

namespace {

constexpr double smallestArea = 2;

/// How much to scale `size` by to fit into `room`. A picture of hardly any size is not blown up without end.
double fit(const Size& size, const Rect& room) {
  return std::min(room.width / std::max(size.width, 1.0), room.height / std::max(size.height, 1.0));
}

Rect centered(const Size& size, double scale, Point center) {
  const double width = size.width * scale, height = size.height * scale;
  return {center.x - width / 2, center.y - height / 2, width, height};
}

}  // namespace

VideoPlacement VideoPlacement::of(const VideoBackgroundCompositionInstruction& instruction) {
  const auto& styling = instruction.styling;
  const Size& canvas = instruction.renderSize;
  const double shortSide = std::min(canvas.width, canvas.height);
  const double padding = shortSide * styling.paddingRatio;
  const Rect area = centered({std::max(canvas.width - 2 * padding, smallestArea),
                              std::max(canvas.height - 2 * padding, smallestArea)},
                             1, {canvas.width / 2, canvas.height / 2});

  VideoPlacement result;
  result.crop = VideoCropSelection::clampedPixelRect(instruction.cropRect, instruction.normalizedSize);
  const Size size{result.crop.width, result.crop.height};
  result.frame = result.content = centered(size, fit(size, area), area.center());
  if (styling.inset.amountRatio > 0) {
    result.content =
        VideoInsetGeometry::contentRect(result.frame, styling.inset.amountRatio, styling.inset.balance);
    if (result.content == Rect{}) result.frame = {};
  }
  const double scale = fit(size, result.content);
  result.drawn = centered(size, scale, result.content.center());
  result.cornerRadius = shortSide * styling.borderRadiusRatio;
  result.toCanvas = AffineTransform::translation(-result.crop.x, -result.crop.y)
                        .then(AffineTransform::scale(scale, scale))
                        .then(AffineTransform::translation(result.drawn.x, result.drawn.y));
  return result;
}

}  // namespace quillant
