#include "MediaKit/Exporting/SegmentEncoder.h"

#include <algorithm>

namespace quillant {

SegmentEncoder::SegmentEncoder(const VideoInputSettings& settings, const RepeatedPicture& repeated,
                               std::int64_t pictures)
    : width_(settings.width),
      height_(settings.height),
      encoder_(settings),
      repeated_(repeated),
      cap_(settings.file.value_or(FileEncoding{}), settings.expectedFrameRate, pictures) {
  picture_.constantBlocks.resize(EncoderPicture::blocks(width_) * EncoderPicture::blocks(height_));
}

/// Whether all are.
bool SegmentEncoder::findConstantBlocks(const PixelBuffer& picture) {
  const bool isSame = picture.sequence != 0 && picture.sequence == sequence_;
  const bool follows = picture.sequence != 0 && sequence_ != 0 && picture.sequence == sequence_ + 1;
  sequence_ = picture.sequence;
  std::ranges::fill(picture_.constantBlocks, std::uint8_t{isSame || follows});
  if (!follows || picture.changed.empty()) return isSame || follows;
  constexpr int side = EncoderPicture::blockSize;
  const auto columns = EncoderPicture::blocks(width_);
  for (const auto& rect : picture.changed) {
    const auto right = EncoderPicture::blocks(rect.x + rect.width);
    const auto bottom = EncoderPicture::blocks(rect.y + rect.height);
    for (auto row = static_cast<std::size_t>(rect.y / side); row < bottom; ++row)
      for (auto column = static_cast<std::size_t>(rect.x / side); column < right; ++column)
        picture_.constantBlocks[row * columns + column] = 0;
  }
  return false;
}

EncodedPacket SegmentEncoder::encodeKey(std::int64_t time) {
  for (int quantizer = cap_.key();;) {
    auto packet = encoder_.encode(picture_, time, H264Encoder::Frame::key, quantizer);
    const int coarser = cap_.keyAfter(packet.data.size(), quantizer);
    if (coarser == quantizer) {
      cap_.accountKey(packet.data.size());
      coarsest_ = quantizer;
      return packet;
    }
    quantizer = coarser;
  }
}

EncodedPacket SegmentEncoder::encodePredicted(std::int64_t time, bool isUnchanged) {
  const int quantizer = cap_.predicted();
  EncodedPacket packet;
  if (isUnchanged && quantizer >= coarsest_) {
    packet.data = repeated_.at(index_);
    packet.time = time;
  } else {
    packet = encoder_.encode(picture_, time, H264Encoder::Frame::predicted, quantizer);
    RepeatedPicture::number(packet.data, index_);
    // A picture that stands still becomes finer where it can.
    coarsest_ = isUnchanged ? quantizer : std::max(coarsest_, quantizer);
  }
  cap_.account(packet.data.size(), quantizer);
  return packet;
}

EncodedPacket SegmentEncoder::encode(const PixelBuffer& picture, std::int64_t time, std::int64_t duration) {
  const bool isUnchanged = findConstantBlocks(picture);
  picture_.planes = picture.planes;
  auto packet = index_ == 0 ? encodeKey(time) : encodePredicted(time, isUnchanged);
  ++index_;
  packet.duration = duration;
  return packet;
}

}  // namespace quillant
