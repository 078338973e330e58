#pragma once

#include <cstdint>
#include <vector>

#include "MediaKit/Writing/MediaSettings.h"

namespace quillant {

/// A compressed picture that is the one before it, whatever that is, at no cost: all of it is skipped. The
/// encoder is not asked, and does not know of it, so that the numbers by which pictures refer to each other
/// are written anew in all that come from it.
///
/// Read only: any thread.
class RepeatedPicture {
 public:
  /// For pictures that `H264Encoder` makes with these settings. Throws `MediaError` of kind codec.
  explicit RepeatedPicture(const VideoInputSettings& settings);

  /// As the picture that is `index` after its keyframe.
  std::vector<std::uint8_t> at(std::int64_t index) const;
  /// Makes a predicted picture the one that is `index` after its keyframe.
  static void number(std::vector<std::uint8_t>& picture, std::int64_t index);

 private:
  std::vector<std::uint8_t> picture_;
};

}  // namespace quillant
