#include "MediaKit/Exporting/RepeatedPicture.h"

#include "MediaKit/MediaError.h"
#include "MediaKit/Writing/EncoderPicture.h"
#include "MediaKit/Writing/H264Encoder.h"

namespace quillant {

RepeatedPicture::RepeatedPicture(const VideoInputSettings& settings) {
  // Where all is flat and told to be as it was, everything is skipped. Nothing in that says flat.
  H264Encoder encoder(settings);
  const auto samples = static_cast<std::size_t>(settings.width) * static_cast<std::size_t>(settings.height);
  std::vector<std::uint8_t> memory(samples, 128);
  EncoderPicture flat;
  flat.planes = {{{memory.data(), settings.width},
                  {memory.data(), settings.width / 2},
                  {memory.data(), settings.width / 2}}};
  flat.constantBlocks.resize(EncoderPicture::blocks(settings.width) *
                             EncoderPicture::blocks(settings.height));
  encoder.encode(flat, 0, H264Encoder::Frame::key, H264Encoder::finestQuantizer);
  flat.constantBlocks.assign(flat.constantBlocks.size(), 1);
  picture_ = encoder.encode(flat, 1, H264Encoder::Frame::predicted, H264Encoder::coarsestQuantizer).data;
}

std::vector<std::uint8_t> RepeatedPicture::at(std::int64_t index) const {
  auto result = picture_;
  number(result, index);
  return result;
}

void RepeatedPicture::number(std::vector<std::uint8_t>& picture, std::int64_t index) {
  // Behind the length and the unit's own byte: the slice begins at the first macroblock (1), all slices of
  // the picture are predicted (00110), it has the first set of parameters (1); then come the four bits of the
  // number. What follows them is never 0, so that no byte is there to keep a start code from appearing.
  constexpr std::size_t at = 5;
  constexpr unsigned head = 0b1001'1010;
  if (picture.size() < at + 2 || (picture[at] & 0xFE) != head || (picture[at + 1] & 0x1F) == 0)
    throw MediaError(MediaError::Kind::codec, "the H.264 encoder gives pictures of another form");
  const auto number = static_cast<unsigned>(index % 16);
  picture[at] = static_cast<std::uint8_t>(head | number >> 3);
  picture[at + 1] = static_cast<std::uint8_t>((number & 7) << 5 | (picture[at + 1] & 0x1F));
}

}  // namespace quillant
