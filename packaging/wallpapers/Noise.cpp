#include "packaging/wallpapers/Noise.h"

#include "packaging/wallpapers/Color.h"

namespace quillant {

namespace {

std::uint32_t hash(std::int32_t x, std::int32_t y, std::uint32_t seed) {
  std::uint32_t h = seed * 0x9E3779B9u ^ static_cast<std::uint32_t>(x) * 0x85EBCA6Bu;
  h = (h ^ h >> 15) * 0x2C1B3C6Du + static_cast<std::uint32_t>(y) * 0xC2B2AE35u;
  h = (h ^ h >> 13) * 0x297A2D39u;
  return h ^ h >> 16;
}

/// The slope that a grid's corner has, as seen from `offset`.
float slopeAt(std::int32_t x, std::int32_t y, std::uint32_t seed, float offsetX, float offsetY) {
  constexpr float d = 0.70710678f;
  constexpr float slopes[8][2] = {{1, 0}, {d, d}, {0, 1}, {-d, d}, {-1, 0}, {-d, -d}, {0, -1}, {d, -d}};
  const auto& slope = slopes[hash(x, y, seed) & 7];
  return slope[0] * offsetX + slope[1] * offsetY;
}

/// std::floor is a call into the library on the oldest machines that we build for.
std::int32_t floored(float value) {
  const auto truncated = static_cast<std::int32_t>(value);
  return truncated - (value < static_cast<float>(truncated) ? 1 : 0);
}

float fade(float t) {
  return t * t * t * (t * (t * 6 - 15) + 10);
}

}  // namespace

float chance(std::int32_t x, std::int32_t y, std::uint32_t seed) {
  return static_cast<float>(hash(x, y, seed) >> 8) / 16777216.0f;
}

float noise(Place place, std::uint32_t seed) {
  const std::int32_t x = floored(place.x);
  const std::int32_t y = floored(place.y);
  const float dx = place.x - static_cast<float>(x);
  const float dy = place.y - static_cast<float>(y);
  const float across = fade(dx);
  const float top = mix(slopeAt(x, y, seed, dx, dy), slopeAt(x + 1, y, seed, dx - 1, dy), across);
  const float bottom =
      mix(slopeAt(x, y + 1, seed, dx, dy - 1), slopeAt(x + 1, y + 1, seed, dx - 1, dy - 1), across);
  return mix(top, bottom, fade(dy)) * 1.4f;
}

float roughNoise(Place place, int octaves, std::uint32_t seed) {
  float sum = 0;
  float strength = 1;
  float total = 0;
  for (int octave = 0; octave < octaves; ++octave) {
    sum += strength * noise(place, seed + static_cast<std::uint32_t>(octave));
    total += strength;
    strength *= 0.5f;
    // Turned by 37 degrees, so that the grids of two layers never line up into streaks.
    place = {1.6f * place.x + 1.2f * place.y, 1.6f * place.y - 1.2f * place.x};
  }
  return sum / total;
}

}  // namespace quillant
