#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "MediaKit/Writing/EncodedPacket.h"
#include "MediaKit/Writing/MediaSettings.h"

namespace quillant {

/// What the sound of an exported movie is encoded to, as AAC.
struct MovieSoundSettings {
  int sampleRate = 44'100;
  int channels = 2;
  int bitRate = 128'000;  ///< Bits a second.
};

/// An ordinary movie file of one picture track and at most one sound track, with its index in front. It
/// appears under its name when it is finished, and not at all if it is destroyed before.
///
/// Belongs to one thread at a time; blocking. Throws `FileError` for what the disk refuses and `MediaError`
/// of kind codec.
class MovieFileWriter {
 public:
  /// `configuration` is what the picture's encoder gives.
  MovieFileWriter(const std::filesystem::path& target, MediaContainer container,
                  const VideoInputSettings& video, std::span<const std::uint8_t> configuration,
                  std::optional<MovieSoundSettings> sound);
  ~MovieFileWriter();

  /// Packets in the order of their times, which are ticks of `H264Encoder::timescale`, with their durations.
  void writePicture(const EncodedPacket& packet);
  /// The frames that follow those of the last call, interleaved. The first one sounds at 0, whatever the
  /// encoder puts before it. Pictures and sound may run apart by a few seconds: they wait for each other in
  /// memory.
  void writeSound(std::span<const float> frames);
  /// Frames given so far.
  std::int64_t soundFrames() const;
  /// Nothing follows. Afterwards the file has its name and is synced to the disk.
  void finish();

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace quillant
