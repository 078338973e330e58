#pragma once

#include <cstdint>

namespace quillant {

/// A place in a picture: x to the right and y downward, in heights of the picture.
struct Place {
  float x = 0;
  float y = 0;

  friend constexpr Place operator+(Place a, Place b) { return {a.x + b.x, a.y + b.y}; }
  friend constexpr Place operator-(Place a, Place b) { return {a.x - b.x, a.y - b.y}; }
  friend constexpr Place operator*(Place a, float factor) { return {a.x * factor, a.y * factor}; }
};

/// An even 0 to 1 for a cell of a grid, the same on every machine.
float chance(std::int32_t x, std::int32_t y, std::uint32_t seed);
/// Smooth noise with features of size 1, about -1 to 1 and 0 on average.
float noise(Place place, std::uint32_t seed = 0);
/// Noise with finer and fainter noise upon it, of about the same range; `octaves` layers, each half the size.
float roughNoise(Place place, int octaves, std::uint32_t seed = 0);

}  // namespace quillant
