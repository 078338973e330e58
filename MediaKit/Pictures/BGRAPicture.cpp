#include "MediaKit/Pictures/BGRAPicture.h"

#include <array>
#include <cstddef>
#include <vector>

#include "MediaKit/FFmpegHandles.h"
#include "MediaKit/Reading/DecodedPicture.h"

namespace quillant {

std::shared_ptr<PixelBuffer> BGRAPicture::make(int width, int height) {
  auto memory = std::make_shared<std::vector<std::uint8_t>>(static_cast<std::size_t>(width) * height * 4);
  auto buffer = std::make_shared<PixelBuffer>();
  buffer->width = width;
  buffer->height = height;
  buffer->planes[0] = {memory->data(), width * 4};
  buffer->memory = std::move(memory);
  return buffer;
}

std::shared_ptr<PixelBuffer> BGRAPicture::of(const PixelBuffer& source, int width, int height) {
  const FFmpeg::Scaler scaler(FFmpeg::check(sws_getContext(
      source.width, source.height, DecodedPicture::formatOf(source), width, height, AV_PIX_FMT_BGRA,
      SWS_AREA | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr, nullptr, nullptr)));
  const bool isOldMatrix = source.color.matrix == ColorEncoding::Matrix::bt601;
  const auto* coefficients = sws_getCoefficients(isOldMatrix ? SWS_CS_ITU601 : SWS_CS_ITU709);
  sws_setColorspaceDetails(scaler.get(), coefficients, source.color.range == ColorEncoding::Range::full,
                           coefficients, 1, 0, 1 << 16, 1 << 16);
  auto picture = make(width, height);
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

}  // namespace quillant
