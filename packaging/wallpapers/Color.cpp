#include "packaging/wallpapers/Color.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace quillant {

Color light(std::uint32_t hex) {
  static const auto table = [] {
    std::array<float, 256> values{};
    for (int byte = 0; byte < 256; ++byte) {
      const float value = static_cast<float>(byte) / 255.0f;
      values[byte] = value <= 0.04045f ? value / 12.92f : std::pow((value + 0.055f) / 1.055f, 2.4f);
    }
    return values;
  }();
  return {table[hex >> 16 & 0xFF], table[hex >> 8 & 0xFF], table[hex & 0xFF]};
}

Color toOklab(Color c) {
  const float l = std::cbrt(0.4122214708f * c.r + 0.5363325363f * c.g + 0.0514459929f * c.b);
  const float m = std::cbrt(0.2119034982f * c.r + 0.6806995451f * c.g + 0.1073969566f * c.b);
  const float s = std::cbrt(0.0883024619f * c.r + 0.2817188376f * c.g + 0.6299787005f * c.b);
  return {0.2104542553f * l + 0.7936177850f * m - 0.0040720468f * s,
          1.9779984951f * l - 2.4285922050f * m + 0.4505937099f * s,
          0.0259040371f * l + 0.7827717662f * m - 0.8086757660f * s};
}

Color fromOklab(Color lab) {
  const float l = lab.r + 0.3963377774f * lab.g + 0.2158037573f * lab.b;
  const float m = lab.r - 0.1055613458f * lab.g - 0.0638541728f * lab.b;
  const float s = lab.r - 0.0894841775f * lab.g - 1.2914855480f * lab.b;
  const Color cubed{l * l * l, m * m * m, s * s * s};
  return {4.0767416621f * cubed.r - 3.3077115913f * cubed.g + 0.2309699292f * cubed.b,
          -1.2684380046f * cubed.r + 2.6097574011f * cubed.g - 0.3413193965f * cubed.b,
          -0.0041960863f * cubed.r - 0.7034186147f * cubed.g + 1.7076147010f * cubed.b};
}

Ramp::Ramp(std::initializer_list<Stop> stops) {
  std::array<Color, steps + 1> labs;
  const auto* next = stops.begin();
  for (int step = 0; step <= steps; ++step) {
    const float position = static_cast<float>(step) / steps;
    while (next != stops.end() && next->position < position) ++next;
    const Stop& to = next == stops.end() ? *(stops.end() - 1) : *next;
    const Stop& from = next == stops.begin() ? to : *(next - 1);
    const float span = to.position - from.position;
    const float amount = span > 0 ? std::clamp((position - from.position) / span, 0.0f, 1.0f) : 0.0f;
    labs[step] = mix(toOklab(light(from.hex)), toOklab(light(to.hex)), amount);
  }
  for (int step = 0; step <= steps; ++step) {
    Color sum;
    for (int offset = -rounding; offset <= rounding; ++offset)
      sum = sum +
            labs[std::clamp(step + offset, 0, steps)] * static_cast<float>(rounding + 1 - std::abs(offset));
    colors_[step] = fromOklab(sum * (1.0f / ((rounding + 1) * (rounding + 1))));
  }
}

Color Ramp::operator()(float position) const {
  const float place = std::clamp(position, 0.0f, 1.0f) * steps;
  const int step = std::min(static_cast<int>(place), steps - 1);
  return mix(colors_[step], colors_[step + 1], place - static_cast<float>(step));
}

}  // namespace quillant
