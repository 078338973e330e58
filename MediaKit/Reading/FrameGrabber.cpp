#include "MediaKit/Reading/FrameGrabber.h"

#include <algorithm>
#include <libyuv.h>
#include <utility>

#include "MediaKit/MediaError.h"
#include "MediaKit/Pictures/BGRAPicture.h"
#include "MediaKit/Reading/VideoReader.h"

namespace quillant {

namespace {

/// Sums of times miss each other by less than this, in seconds.
constexpr double sameTime = 1e-6;

std::pair<int, int> fitted(Size size, int maximumSide) {
  const double longest = std::max(size.width, size.height);
  const double scale = maximumSide <= 0 || longest <= maximumSide ? 1 : maximumSide / longest;
  const auto side = [&](double value) { return std::max(1, static_cast<int>(value * scale + 0.5)); };
  return {side(size.width), side(size.height)};
}

/// Turns and mirrors as `upright` does; its scale is left out.
std::shared_ptr<PixelBuffer> turned(std::shared_ptr<PixelBuffer> picture, const AffineTransform& upright) {
  if (upright.determinant() < 0) {
    auto mirrored = BGRAPicture::make(picture->width, picture->height);
    libyuv::ARGBMirror(picture->planes[0].data, picture->planes[0].stride, mirrored->planes[0].data,
                       mirrored->planes[0].stride, picture->width, picture->height);
    picture = std::move(mirrored);
  }
  // Where the picture's downward axis goes is not touched by the mirroring.
  const bool isSideways = upright.d == 0;
  const auto rotation = isSideways ? (upright.c < 0 ? libyuv::kRotate90 : libyuv::kRotate270)
                                   : (upright.d < 0 ? libyuv::kRotate180 : libyuv::kRotate0);
  if (rotation == libyuv::kRotate0) return picture;
  auto result = isSideways ? BGRAPicture::make(picture->height, picture->width)
                           : BGRAPicture::make(picture->width, picture->height);
  libyuv::ARGBRotate(picture->planes[0].data, picture->planes[0].stride, result->planes[0].data,
                     result->planes[0].stride, picture->width, picture->height, rotation);
  return result;
}

}  // namespace

GrabbedFrame FrameGrabber::grab(const std::filesystem::path& path, MediaTime time,
                                const FrameGrabOptions& options) {
  VideoReader reader(path, 0, {.toleranceBefore = options.toleranceBefore.seconds()});
  const auto frame = reader.frame(time.seconds());
  const double wanted = time.seconds();
  if (!frame || wanted - options.toleranceBefore.seconds() >= frame->end - sameTime ||
      frame->start > wanted + options.toleranceAfter.seconds() + sameTime)
    throw MediaError(MediaError::Kind::noFrame, "the video shows nothing at this time");
  const auto& upright = reader.track().upright;
  auto [width, height] = fitted(reader.track().displaySize, options.maximumSide);
  if (upright.d == 0) std::swap(width, height);
  return {turned(BGRAPicture::of(*frame->picture, width, height), upright),
          MediaTime::fromSeconds(frame->start, 90'000)};
}

}  // namespace quillant
