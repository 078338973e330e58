#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "Core/MediaTime.h"

namespace quillant {

/// A file as an ordinary player sees it: decoded from its start to its end by FFmpeg, with no help of ours.
struct DecodedMedia {
  struct Frame {
    MediaTime time;
    std::uint32_t stamp = 0;  ///< As `StampedFrames::read` tells.
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> luma;  ///< Without padding; kept only if asked for.
  };
  struct Sound {
    int channels = 0;
    int sampleRate = 0;
    MediaTime time;              ///< Of the first sample.
    std::vector<float> samples;  ///< Of the first channel, gaps in time filled with zeros.
  };

  std::vector<Frame> frames;  ///< Of the first video track.
  std::vector<Sound> sounds;  ///< Of every audio track, in the order of the file.
  MediaTime duration;         ///< As the container tells.
  std::string colors;  ///< Primaries, transfer, matrix and range of the bitstream, then the container's.
  std::vector<std::string> errors;  ///< Everything that went wrong; empty for a sound file.

  enum class Keep { nothing, pictures };
  static DecodedMedia decode(const std::filesystem::path& path, Keep keep = Keep::nothing);
};

}  // namespace quillant
