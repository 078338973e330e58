#pragma once

#include "Core/Geometry.h"
#include "Editor/Timeline/FacecamSettings.h"

/// Where the camera's bubble lies on a canvas, in canvas pixels, origin top left.
namespace quillant::FacecamOverlayLayout {

/// A square at its anchor. Empty where the camera is off or a side of the canvas is not finite or not
/// positive.
Rect frame(const Size& canvas, const FacecamSettings& settings);

/// The radius of the bubble's corners, `bubble` being its frame: a circle's is half its side.
double cornerRadius(const Rect& bubble, const FacecamSettings& settings);

}  // namespace quillant::FacecamOverlayLayout
