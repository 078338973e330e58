#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "MediaKit/Writing/EncodedPacket.h"
#include "MediaKit/Writing/MediaSettings.h"

namespace quillant {

/// Puts packets into the boxes of a fragmented file, in memory: who calls writes the bytes.
///
/// Each fragment states its own start times, so that whatever gap lies between two fragments, time stamps are
/// exact. Belongs to one thread. Throws `MediaError` of kind codec.
class FragmentMuxer {
 public:
  explicit FragmentMuxer(MediaContainer container);
  ~FragmentMuxer();

  /// Before `open`; the index of the track is the number of those added before it.
  void addVideo(const VideoInputSettings& settings, const std::vector<std::uint8_t>& configuration);
  void addAudio(const AudioInputSettings& settings, const std::vector<std::uint8_t>& configuration);

  /// What the file starts with: its type, and the description of its tracks.
  struct Head {
    std::vector<std::uint8_t> fileType;
    std::vector<std::uint8_t> movie;
  };
  Head open();

  /// Packets of a track come in the order of their times, with their durations.
  void write(std::size_t track, const EncodedPacket& packet);
  /// Everything written since the last call, as a fragment; empty if nothing was.
  std::vector<std::uint8_t> closeFragment();

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace quillant
