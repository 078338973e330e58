#pragma once

#include <array>
#include <string>

namespace quillant {

/// The speeds that a clip can play at.
namespace TimelineClipSpeed {

inline constexpr std::array allowed = {1.0, 1.25, 1.5, 1.75, 2.0};

/// The nearest allowed speed, of two as near the lower one; 1 for what is not finite.
double normalized(double speed);
/// Source seconds that pass in one second of output: the speed, but never so little that time stands still.
inline double rate(double speed) {
  return speed > 0.05 ? speed : 0.05;
}
/// The normalised speed as "2x", "1.5x" or "1.25x".
std::string label(double speed);

}  // namespace TimelineClipSpeed
}  // namespace quillant
