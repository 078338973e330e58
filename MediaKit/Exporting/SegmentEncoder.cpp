#include "MediaKit/Exporting/SegmentEncoder.h"

#include <algorithm>

namespace quillant {

namespace {

constexpr int blockSize = 16;

int blocks(int pixels) {
  return (pixels + blockSize - 1) / blockSize;
}

}  // namespace

SegmentEncoder::SegmentEncoder(const VideoInputSettings& settings)
    : width_(settings.width), height_(settings.height), encoder_(settings) {
  picture_.constantBlocks.resize(static_cast<std::size_t>(blocks(width_)) * blocks(height_));
}

EncodedPacket SegmentEncoder::encode(const PixelBuffer& picture, std::int64_t time, std::int64_t duration) {
  const bool isSame = picture.sequence != 0 && picture.sequence == sequence_;
  const bool follows = picture.sequence != 0 && sequence_ != 0 && picture.sequence == sequence_ + 1;
  std::ranges::fill(picture_.constantBlocks, std::uint8_t{isSame || follows});
  if (follows) {
    for (const auto& rect : picture.changed) {
      const int right = std::min(blocks(rect.x + rect.width), blocks(width_));
      const int bottom = std::min(blocks(rect.y + rect.height), blocks(height_));
      for (int row = std::max(rect.y, 0) / blockSize; row < bottom; ++row)
        for (int column = std::max(rect.x, 0) / blockSize; column < right; ++column)
          picture_.constantBlocks[static_cast<std::size_t>(row * blocks(width_) + column)] = 0;
    }
  }
  sequence_ = picture.sequence;
  picture_.planes = picture.planes;
  auto packet =
      encoder_.encode(picture_, time, isFirst_ ? H264Encoder::Frame::key : H264Encoder::Frame::predicted);
  isFirst_ = false;
  packet.duration = duration;
  return packet;
}

}  // namespace quillant
