#include "Editor/Export/VideoExportSizing.h"

#include <algorithm>
#include <cmath>

#include "MediaKit/MediaError.h"

namespace quillant::VideoExportSizing {

namespace {

bool isPositive(double value) {
  return std::isfinite(value) && value > 0;
}

VideoExportResolution effectiveResolution(const VideoExportOptions& options) {
  if (options.format != VideoExportFormat::gif) return options.resolution;
  switch (options.gifSize) {
    case VideoExportGIFSize::medium:
      return VideoExportResolution::p480;
    case VideoExportGIFSize::large:
      return VideoExportResolution::p720;
    case VideoExportGIFSize::original:
      break;
  }
  return VideoExportResolution::source;
}

double aspect(VideoPreviewAspectPreset preset, double width, double height) {
  switch (preset) {
    case VideoPreviewAspectPreset::auto_:
      return width / height;
    case VideoPreviewAspectPreset::wide:
      return 16.0 / 9;
    case VideoPreviewAspectPreset::square:
      return 1;
    case VideoPreviewAspectPreset::classic:
      return 4.0 / 3;
    case VideoPreviewAspectPreset::vertical:
      return 9.0 / 16;
    case VideoPreviewAspectPreset::tall:
      return 3.0 / 4;
    case VideoPreviewAspectPreset::portrait:
      return 4.0 / 5;
  }
  return 0;
}

Size withShortSide(double side, double ratio) {
  return ratio >= 1 ? Size{side * ratio, side} : Size{side, side / ratio};
}

Size withLongSide(double side, double ratio) {
  return ratio >= 1 ? Size{side, side / ratio} : Size{side * ratio, side};
}

/// The largest size of this shape inside a picture.
Size inside(double width, double height, double ratio) {
  return width / height > ratio ? Size{height * ratio, height} : Size{width, width / ratio};
}

Size unrounded(const Size& size, const VideoExportOptions& options) {
  const auto resolution = effectiveResolution(options);
  if (resolution == VideoExportResolution::custom && options.customOutputSize)
    return *options.customOutputSize;
  const double width = std::max(std::abs(size.width), 2.0);
  const double height = std::max(std::abs(size.height), 2.0);
  double ratio = aspect(options.aspectPreset, width, height);
  if (!isPositive(ratio)) ratio = 16.0 / 9;
  switch (resolution) {
    case VideoExportResolution::p480:
      return withShortSide(480, ratio);
    case VideoExportResolution::p720:
      return withShortSide(720, ratio);
    case VideoExportResolution::p1080:
      return withShortSide(1080, ratio);
    case VideoExportResolution::twoK:
      return withLongSide(2560, ratio);
    case VideoExportResolution::fourK:
      return withShortSide(2160, ratio);
    case VideoExportResolution::source:
    case VideoExportResolution::custom:
      break;
  }
  return inside(width, height, ratio);
}

}  // namespace

Size evenSize(const Size& size) {
  // Ratios of whole sides are off by a rounding: what misses an even number by so little has it.
  const auto even = [](double side) {
    return isPositive(side) ? std::max(2.0, std::floor(side / 2 + 1e-9) * 2) : 2.0;
  };
  return {even(size.width), even(size.height)};
}

Size resolvedOutputSize(const Size& size, const VideoExportOptions& options) {
  return evenSize(unrounded(size, options));
}

Rect normalizedCropRect(const std::optional<VideoCropSelection>& selection, const Size& sourceSize) {
  const Size size{isPositive(sourceSize.width) ? sourceSize.width : 1920,
                  isPositive(sourceSize.height) ? sourceSize.height : 1080};
  if (!selection) return {0, 0, size.width, size.height};
  const auto part = VideoCropSelection::clampedNormalizedRect(selection->normalizedRect);
  return VideoCropSelection::clampedPixelRect(
      {part.x * size.width, part.y * size.height, part.width * size.width, part.height * size.height}, size);
}

MediaTime frameDuration(VideoExportFrameRate rate, double sourceRate) {
  if (const auto fixed = framesPerSecond(rate)) return {1000, *fixed * 1000};
  constexpr std::int32_t timescale = 600;
  const double shown = timescale / (isPositive(sourceRate) ? std::max(sourceRate, 1.0) : 30.0);
  return {std::max<std::int64_t>(1, std::llround(shown)), timescale};
}

int averageBitRate(VideoExportQuality quality, const Size& size) {
  const auto rate = [&] {
    switch (quality) {
      case VideoExportQuality::low:
        return 4e6;
      case VideoExportQuality::medium:
        return 8e6;
      case VideoExportQuality::highSource:
        return 14e6;
    }
    return 14e6;
  }();
  return static_cast<int>(std::min(std::max(size.width * size.height, 1.0) * rate / 2'073'600, 2e9));
}

int quantizer(VideoExportQuality quality) {
  switch (quality) {
    case VideoExportQuality::low:
      return 28;
    case VideoExportQuality::medium:
      return 24;
    case VideoExportQuality::highSource:
      break;
  }
  return 20;
}

double exportSourceDuration(double assetDuration, double videoTrackDuration) {
  if (isPositive(assetDuration) && isPositive(videoTrackDuration))
    return std::min(assetDuration, videoTrackDuration);
  if (isPositive(assetDuration)) return assetDuration;
  if (isPositive(videoTrackDuration)) return videoTrackDuration;
  throw MediaError(MediaError::Kind::unreadable, "the video has no length");
}

}  // namespace quillant::VideoExportSizing
