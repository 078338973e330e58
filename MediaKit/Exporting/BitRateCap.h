#pragma once

#include <cstddef>
#include <cstdint>

#include "MediaKit/Writing/MediaSettings.h"

namespace quillant {

/// Chooses the quantizers of one stretch of video: the finest, or what the bit rate allows.
///
/// The rate is that of a decoder's buffer, which holds a second of it, is filled evenly, gives up a picture's
/// bits at once and is never empty. Every stretch expects it filled to a half and leaves it so, so that
/// stretches can be encoded apart.
class BitRateCap {
 public:
  BitRateCap(const FileEncoding& encoding, int frameRate, std::int64_t pictures);

  int key() const;
  /// For a keyframe that took `bytes` at `quantizer`: a coarser one if the buffer did not hold it.
  int keyAfter(std::size_t bytes, int quantizer) const;
  int predicted() const;

  void accountKey(std::size_t bytes);
  /// What a predicted picture took at `quantizer`.
  void account(std::size_t bytes, int quantizer);

 private:
  int finest_;
  double second_;  ///< Bits in a second, and in the buffer.
  double frameRate_;
  std::int64_t left_;  ///< Pictures of the stretch.
  double filled_;      ///< Bits in the buffer.
  double cost_ = 0;    ///< Bits that the last pictures would have taken at the finest quantizer, about.
};

}  // namespace quillant
