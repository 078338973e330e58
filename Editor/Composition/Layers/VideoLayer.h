#pragma once

#include <vector>

#include "Core/PixelBuffer.h"
#include "DrawKit/Image.h"
#include "Editor/Composition/VideoBackgroundCompositionInstruction.h"
#include "Editor/Composition/VideoPlacement.h"

/// The recording on its backdrop.
namespace quillant::VideoLayer {

/// Adds the shadow, the inset's panel and the video with its rounded corners. The shadow is the panel's where
/// one is seen, and otherwise the video's in its own colours.
void append(std::vector<Image>& images, const VideoBackgroundCompositionInstruction& instruction,
            const VideoPlacement& placement, const PixelBufferRef& picture);

}  // namespace quillant::VideoLayer
