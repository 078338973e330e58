#include "Linux/Camera/CameraPictures.h"

#include <utility>

extern "C" {
#include <libavutil/imgutils.h>
}

namespace quillant {

namespace {

constexpr int alignment = 32;
constexpr AVPixelFormat target = AV_PIX_FMT_YUV420P;

bool isFullRange(const AVFrame& frame) {
  switch (frame.format) {
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ444P:
      return true;
    default:
      return frame.color_range == AVCOL_RANGE_JPEG;
  }
}

}  // namespace

CameraPictures::CameraPictures(CameraFormat format)
    : format_(format),
      pool_(FFmpeg::check(av_buffer_pool_init(
          static_cast<std::size_t>(av_image_get_buffer_size(target, format.width, format.height, alignment)),
          nullptr))) {}

std::shared_ptr<PixelBuffer> CameraPictures::makeBuffer() {
  auto result = std::make_shared<PixelBuffer>();
  result->format = PixelFormat::i420;
  result->width = format_.width;
  result->height = format_.height;
  auto* memory = FFmpeg::check(av_buffer_pool_get(pool_.get()));
  result->memory = std::shared_ptr<void>(memory, [](AVBufferRef* held) { av_buffer_unref(&held); });
  std::uint8_t* planes[4] = {};
  int strides[4] = {};
  av_image_fill_arrays(planes, strides, memory->data, target, format_.width, format_.height, alignment);
  for (std::size_t i = 0; i < result->planes.size(); ++i) result->planes[i] = {planes[i], strides[i]};
  return result;
}

PixelBufferRef CameraPictures::convert(const AVFrame& frame) {
  scaler_.reset(FFmpeg::check(sws_getCachedContext(
      scaler_.release(), frame.width, frame.height, static_cast<AVPixelFormat>(frame.format), format_.width,
      format_.height, target, SWS_BILINEAR | SWS_ACCURATE_RND, nullptr, nullptr, nullptr)));
  // A camera that does not say uses the old matrix.
  const int matrix = frame.colorspace == AVCOL_SPC_BT709 ? SWS_CS_ITU709 : SWS_CS_ITU601;
  sws_setColorspaceDetails(scaler_.get(), sws_getCoefficients(matrix), isFullRange(frame),
                           sws_getCoefficients(SWS_CS_ITU709), 0, 0, 1 << 16, 1 << 16);
  auto result = makeBuffer();
  std::uint8_t* planes[4] = {};
  int strides[4] = {};
  for (std::size_t i = 0; i < result->planes.size(); ++i) {
    planes[i] = result->planes[i].data;
    strides[i] = result->planes[i].stride;
  }
  FFmpeg::check(sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, planes, strides),
                "could not convert the camera's picture");
  return result;
}

}  // namespace quillant
