#pragma once

// Includes FFmpeg's headers: for the sources of this folder only.
#include <memory>

#include "CaptureEngine/CameraSessionControlling.h"
#include "MediaKit/FFmpegHandles.h"

namespace quillant {

/// Brings decoded frames of whatever format, size and colour matrix into I420 of one size. Belongs to one
/// thread; the buffers outlive it.
class CameraPictures {
 public:
  explicit CameraPictures(CameraFormat format);

  /// Throws `MediaError`.
  PixelBufferRef convert(const AVFrame& frame);

 private:
  using Pool = std::unique_ptr<AVBufferPool, FFmpeg::ReleaseByAddress<av_buffer_pool_uninit>>;

  std::shared_ptr<PixelBuffer> makeBuffer();

  CameraFormat format_;
  Pool pool_;
  FFmpeg::Scaler scaler_;
};

}  // namespace quillant
