#pragma once

#include <cstddef>

namespace quillant {

/// Chooses the quantizer of each picture from what the pictures before it cost.
///
/// Text and windows get a constant fine quantizer, whatever moves. Pictures that take many bits (film, noise)
/// get a coarser one, by 2.4 steps for each doubling of their cost, as the encoder's own rate control does.
/// That one needs a second, coarse analysis of every picture, which on a screen costs as much as the
/// encoding.
class QuantizerControl {
 public:
  static constexpr int finest = 22;
  static constexpr int coarsest = 40;
  /// A keyframe is what many others are predicted from.
  static constexpr int keyAdvantage = 3;

  explicit QuantizerControl(int pixels) : pixels_(pixels) {}

  int predicted() const;
  int key() const { return predicted() - keyAdvantage; }
  /// What a predicted picture took at `quantizer`.
  void account(std::size_t bytes, int quantizer);

 private:
  double pixels_;
  double cost_ = 0;  ///< Bits a pixel that the last pictures would have taken at the finest quantizer.
};

}  // namespace quillant
