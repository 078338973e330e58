#pragma once

#include <algorithm>

namespace quillant {

/// The value brought into 0...1, where volumes, focuses and softness live. What is no number becomes 1.
inline double clampedToUnit(double value) {
  return std::max(0.0, std::min(1.0, value));
}

}  // namespace quillant
