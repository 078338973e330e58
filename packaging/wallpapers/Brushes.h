#pragma once

#include <algorithm>
#include <cmath>

#include "packaging/wallpapers/Picture.h"

// What several painters use.

namespace quillant {

inline constexpr float pi = 3.14159265f;

inline float clamp01(float value) {
  return std::clamp(value, 0.0f, 1.0f);
}

/// 0 up to `from`, 1 beyond `to`, smooth between them.
inline float smoothstep(float from, float to, float value) {
  const float t = clamp01((value - from) / (to - from));
  return t * t * (3 - 2 * t);
}

/// How much of a pixel is inside, for a border at this distance (positive inside).
inline float coverage(float distance) {
  return clamp01(0.5f + distance / pixel);
}

inline float length(Place place) {
  return std::hypot(place.x, place.y);
}

/// 1 at the centre, fading as a bell; `radius` is where about a third is left.
inline float glow(Place place, Place center, float radius) {
  const Place offset = place - center;
  return std::exp(-(offset.x * offset.x + offset.y * offset.y) / (radius * radius));
}

/// Light falls off toward the corners, by `strength` in the corner itself.
inline float vignette(Place place, float strength) {
  const float x = place.x / aspect - 0.5f;
  const float y = place.y - 0.5f;
  return 1 - strength * smoothstep(0.1f, 0.5f, x * x + y * y);
}

/// Turned about the picture's centre, counter-clockwise for a positive angle.
inline Place turned(Place place, float degrees) {
  const float angle = degrees * pi / 180;
  const Place p = place - Place{aspect / 2, 0.5f};
  return Place{p.x * std::cos(angle) - p.y * std::sin(angle), p.x * std::sin(angle) + p.y * std::cos(angle)} +
         Place{aspect / 2, 0.5f};
}

/// Stars of a few sizes, one at most in a cell of `cell` heights; `share` of the cells have one.
inline float stars(Place place, float cell, float share, std::uint32_t seed) {
  const Place grid = place * (1 / cell);
  const auto x = static_cast<std::int32_t>(std::floor(grid.x));
  const auto y = static_cast<std::int32_t>(std::floor(grid.y));
  if (chance(x, y, seed) > share) return 0;
  const Place center{static_cast<float>(x) + 0.2f + 0.6f * chance(x, y, seed + 1),
                     static_cast<float>(y) + 0.2f + 0.6f * chance(x, y, seed + 2)};
  const float magnitude = chance(x, y, seed + 3);
  const float brightness = 0.06f + 0.9f * std::pow(magnitude, 6.0f);
  return brightness * glow(grid, center, (0.8f + magnitude) * pixel / cell);
}

}  // namespace quillant
