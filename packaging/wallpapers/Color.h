#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>

namespace quillant {

/// Three components of 32-bit floats: light in linear sRGB, or OKLab where a name says so.
struct Color {
  float r = 0;
  float g = 0;
  float b = 0;

  friend constexpr Color operator+(Color x, Color y) { return {x.r + y.r, x.g + y.g, x.b + y.b}; }
  friend constexpr Color operator-(Color x, Color y) { return {x.r - y.r, x.g - y.g, x.b - y.b}; }
  friend constexpr Color operator*(Color x, Color y) { return {x.r * y.r, x.g * y.g, x.b * y.b}; }
  friend constexpr Color operator*(Color x, float factor) {
    return {x.r * factor, x.g * factor, x.b * factor};
  }
  friend constexpr Color operator*(float factor, Color x) { return x * factor; }
};

constexpr float mix(float from, float to, float amount) {
  return from + (to - from) * amount;
}
constexpr Color mix(Color from, Color to, float amount) {
  return from + (to - from) * amount;
}

/// Light from an sRGB value such as 0x276FAA.
Color light(std::uint32_t hex);
Color toOklab(Color light);
Color fromOklab(Color lab);

/// A blend through several colours. It runs through OKLab, where the way between two hues stays as clear and
/// as even as its ends; mixing light, or sRGB, would pass through grey.
class Ramp {
 public:
  struct Stop {
    float position;  ///< 0 to 1, rising.
    std::uint32_t hex;
  };

  Ramp(std::initializer_list<Stop> stops);
  /// The first and the last colour go on past their ends.
  Color operator()(float position) const;

 private:
  static constexpr int steps = 1024;
  static constexpr int rounding = 64;  ///< Steps on either side that a stop's corner takes.
  std::array<Color, steps + 1> colors_;
};

}  // namespace quillant
