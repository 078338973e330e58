#pragma once

#include "Core/Geometry.h"
#include "Core/MediaTime.h"
#include "Editor/Export/VideoExportOptions.h"

namespace quillant {

/// Sizes, rates and bit rates of an export. Pure; any thread.
namespace VideoExportSizing {

/// The canvas for a picture of `size` pixels, both sides even.
Size resolvedOutputSize(const Size& size, const VideoExportOptions& options);
/// Each side even, rounded down, at least 2; what is no positive number counts as 2.
Size evenSize(const Size& size);
/// The part of a picture of `sourceSize` pixels that is shown, in its pixels, origin top left.
Rect normalizedCropRect(const std::optional<VideoCropSelection>& selection, const Size& sourceSize);

/// How long a frame is shown. `sourceRate` is the source's in frames a second, 0 if it has none.
MediaTime frameDuration(VideoExportFrameRate rate, double sourceRate);
/// Bits a second, which grow with the pixels.
int averageBitRate(VideoExportQuality quality, const Size& size);
/// H.264's for the quality.
int quantizer(VideoExportQuality quality);

/// Of the lengths of a file and of its video, in seconds: the shorter of those that are lengths. Throws
/// `MediaError` of kind unreadable if neither is.
double exportSourceDuration(double assetDuration, double videoTrackDuration);

}  // namespace VideoExportSizing
}  // namespace quillant
