#pragma once

#include <memory>
#include <vector>

#include "Core/MediaTime.h"
#include "MediaKit/Sound/AudioBuffer.h"
#include "MediaKit/Writing/EncodedPacket.h"
#include "MediaKit/Writing/MediaSettings.h"

namespace quillant {

/// AAC of one track, as sound without holes: what comes late is preceded by silence, what overlaps is cut,
/// and a device's clock that runs away from the host's is followed by resampling it slightly.
///
/// The codec starts with 1,024 samples of its own before the first of the track; that packet is left out, so
/// that sample n of the track is sample n of the file, without an edit list that some readers ignore.
///
/// Belongs to one thread. Throws `MediaError` of kind codec.
class AACEncoder {
 public:
  static constexpr int timescale = 48'000;

  explicit AACEncoder(const AudioInputSettings& settings);
  ~AACEncoder();

  /// The AudioSpecificConfig, as the container stores it.
  std::vector<std::uint8_t> configuration() const;

  /// Takes sound whose time counts from the track's zero; what lies before it is cut.
  void append(const AudioBuffer& buffer);
  /// Adds silence so that the track reaches `time` at least.
  void fill(MediaTime time);
  /// No sound follows: what is still held back is encoded.
  void finish();
  /// What has been encoded since the last call.
  std::vector<EncodedPacket> takePackets();

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace quillant
