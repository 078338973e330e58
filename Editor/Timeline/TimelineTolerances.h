#pragma once

namespace quillant {

// Seconds, shared by the rules over clips and over audio rows.

inline constexpr double timeTolerance = 0.001;    ///< Nearer than this is the same moment.
inline constexpr double placingTolerance = 1e-9;  ///< Nearer than this touches.
/// No split and no trim leaves a shorter piece, in output seconds. Times are sums of differences: what misses
/// it by less than `placingTolerance` has it.
inline constexpr double minimumClipLength = 0.05;

inline bool isLongEnoughForClip(double length) {
  return length >= minimumClipLength - placingTolerance;
}

}  // namespace quillant
