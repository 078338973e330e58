#pragma once

#include <vector>

#include "Core/Geometry.h"
#include "Core/PixelBuffer.h"
#include "Core/SerializableColor.h"
#include "DrawKit/Image.h"
#include "Editor/Composition/VideoBackgroundCompositionInstruction.h"
#include "Editor/Timeline/FacecamSettings.h"

namespace quillant {

/// A camera's settings on a canvas, as numbers. Canvas pixels, origin top left.
struct FacecamBubble {
  Rect frame;  ///< Empty: the camera is not seen.
  double cornerRadius = 0;
  double borderWidth = 0;
  SerializableColor borderColor;

  static FacecamBubble of(const Size& canvas, const FacecamSettings& settings);
};

/// The camera over the recording.
namespace FacecamLayer {

/// Adds the camera's picture on its way from the bubble to the whole canvas: `amount` is 0 in the bubble, 1
/// at the whole canvas. Its corners and its border shrink on the way.
void append(std::vector<Image>& images, const VideoBackgroundCompositionInstruction& instruction,
            const FacecamBubble& bubble, double amount, const PixelBufferRef& picture);

}  // namespace FacecamLayer
}  // namespace quillant
