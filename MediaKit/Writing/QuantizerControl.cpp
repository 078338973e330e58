#include "MediaKit/Writing/QuantizerControl.h"

#include <algorithm>
#include <cmath>

namespace quillant {

namespace {

/// Scrolling text stays below this: 15 kB for a picture of 1920 by 1080.
constexpr double ordinaryCost = 0.06;

}  // namespace

int QuantizerControl::predicted() const {
  if (cost_ <= ordinaryCost) return finest;
  return std::min(coarsest, finest + static_cast<int>(std::lround(2.4 * std::log2(cost_ / ordinaryCost))));
}

void QuantizerControl::account(std::size_t bytes, int quantizer) {
  // Six steps of the quantizer halve the bits, about.
  const double cost = static_cast<double>(bytes) * 8 / pixels_ * std::exp2((quantizer - finest) / 6.0);
  cost_ += (cost - cost_) / 10;
}

}  // namespace quillant
