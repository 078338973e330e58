#pragma once

#include <cstdint>
#include <vector>

namespace quillant {

/// One compressed picture or stretch of sound, in ticks of its track's timescale from the file's zero.
/// Pictures come in the order they are shown.
struct EncodedPacket {
  std::vector<std::uint8_t> data;
  std::int64_t time = 0;
  std::int64_t duration = 0;
  bool isKeyFrame = false;
};

}  // namespace quillant
