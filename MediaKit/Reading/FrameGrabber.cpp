#include "MediaKit/Reading/FrameGrabber.h"

#include <algorithm>
#include <array>
#include <libyuv.h>
#include <utility>

#include "MediaKit/Reading/DecodedPicture.h"
#include "MediaKit/Reading/VideoReader.h"

namespace quillant {

namespace {

using FFmpeg::check;

/// Sums of times miss each other by less than this, in seconds.
constexpr double sameTime = 1e-6;

std::shared_ptr<PixelBuffer> makeBGRA(int width, int height) {
  auto memory = std::make_shared<std::vector<std::uint8_t>>(static_cast<std::size_t>(width) * height * 4);
  auto buffer = std::make_shared<PixelBuffer>();
  buffer->width = width;
  buffer->height = height;
  buffer->planes[0] = {memory->data(), width * 4};
  buffer->memory = std::move(memory);
  return buffer;
}

std::pair<int, int> fitted(Size size, int maximumSide) {
  const double longest = std::max(size.width, size.height);
  const double scale = maximumSide <= 0 || longest <= maximumSide ? 1 : maximumSide / longest;
  const auto side = [&](double value) { return std::max(1, static_cast<int>(value * scale + 0.5)); };
  return {side(size.width), side(size.height)};
}

std::shared_ptr<PixelBuffer> toBGRA(const PixelBuffer& source, int width, int height) {
  const FFmpeg::Scaler scaler(check(sws_getContext(
      source.width, source.height, DecodedPicture::formatOf(source), width, height, AV_PIX_FMT_BGRA,
      SWS_AREA | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr, nullptr, nullptr)));
  const bool isOldMatrix = source.color.matrix == ColorEncoding::Matrix::bt601;
  const auto* coefficients = sws_getCoefficients(isOldMatrix ? SWS_CS_ITU601 : SWS_CS_ITU709);
  sws_setColorspaceDetails(scaler.get(), coefficients, source.color.range == ColorEncoding::Range::full,
                           coefficients, 1, 0, 1 << 16, 1 << 16);
  auto picture = makeBGRA(width, height);
  std::array<const std::uint8_t*, 3> planes{};
  std::array<int, 3> strides{};
  for (std::size_t i = 0; i < planes.size(); ++i) {
    planes[i] = source.planes[i].data;
    strides[i] = source.planes[i].stride;
  }
  sws_scale(scaler.get(), planes.data(), strides.data(), 0, source.height, &picture->planes[0].data,
            &picture->planes[0].stride);
  return picture;
}

/// Turns and mirrors as `upright` does; its scale is left out.
std::shared_ptr<PixelBuffer> turned(std::shared_ptr<PixelBuffer> picture, const AffineTransform& upright) {
  if (upright.determinant() < 0) {
    auto mirrored = makeBGRA(picture->width, picture->height);
    libyuv::ARGBMirror(picture->planes[0].data, picture->planes[0].stride, mirrored->planes[0].data,
                       mirrored->planes[0].stride, picture->width, picture->height);
    picture = std::move(mirrored);
  }
  // Where the picture's downward axis goes is not touched by the mirroring.
  const bool isSideways = upright.d == 0;
  const auto rotation = isSideways ? (upright.c < 0 ? libyuv::kRotate90 : libyuv::kRotate270)
                                   : (upright.d < 0 ? libyuv::kRotate180 : libyuv::kRotate0);
  if (rotation == libyuv::kRotate0) return picture;
  auto result =
      isSideways ? makeBGRA(picture->height, picture->width) : makeBGRA(picture->width, picture->height);
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
  return {turned(toBGRA(*frame->picture, width, height), upright),
          MediaTime::fromSeconds(frame->start, 90'000)};
}

}  // namespace quillant
