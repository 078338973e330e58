#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "MediaKit/Writing/EncodedPacket.h"
#include "MediaKit/Writing/EncoderPicture.h"
#include "MediaKit/Writing/MediaSettings.h"

namespace quillant {

/// H.264: every picture comes out compressed before the next goes in. Live pictures have all threads to
/// themselves; a file's are encoded on the thread that calls, so that its bytes do not depend on the machine.
/// libx264 is used directly, because FFmpeg's wrapper does not pass on which macroblocks are known to be
/// unchanged.
///
/// Belongs to one thread. Throws `MediaError` of kind codec.
class H264Encoder {
 public:
  static constexpr int timescale = 90'000;
  static constexpr int finestQuantizer = 10;
  static constexpr int coarsestQuantizer = 51;

  explicit H264Encoder(const VideoInputSettings& settings);
  ~H264Encoder();

  /// The decoder configuration record, as the container stores it.
  std::vector<std::uint8_t> configuration() const;

  enum class Frame { predicted, key };
  /// `time` in ticks of 1/90,000 s, rising strictly. `quantizer` from `finestQuantizer` to
  /// `coarsestQuantizer`. The packet's duration is left open.
  EncodedPacket encode(const EncoderPicture& picture, std::int64_t time, Frame frame, int quantizer);

  /// Spends less work on each picture from now on, at the price of a larger file. False if it cannot be less.
  bool makeFaster();

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace quillant
