#pragma once

#include "Core/Geometry.h"
#include "Editor/Project/VideoInsetBalance.h"

/// Where a video lies in its panel. Origin top left.
namespace quillant::VideoInsetGeometry {

/// `rect` made smaller on both axes by `amountRatio`, of which 0...0.95 counts, and laid into itself as the
/// balance shares out the room. Empty where a side of `rect` is not finite or not positive.
Rect contentRect(const Rect& rect, double amountRatio, const VideoInsetBalance& balance);

}  // namespace quillant::VideoInsetGeometry
