#include <array>

#include "packaging/wallpapers/Brushes.h"
#include "packaging/wallpapers/Wallpapers.h"

// Ground seen from afar: each row of it is a layer, the farthest first.

namespace quillant::Wallpapers {

namespace {

/// One of several rows of ground, the farthest first.
struct Row {
  int index;
  float nearness;  ///< 0 for the farthest, 1 for the nearest.

  float shift() const { return 3.7f * static_cast<float>(index); }
  std::uint32_t seed() const { return static_cast<std::uint32_t>(index) * 16; }
};

/// Rows of ground over each other. `edgeAt(row)` is the height of a row's edge at this place's x,
/// `colorAt(row, depth)` its colour so far below it, and a row darkens what is just behind its edge by
/// `shadow`. No row reaches above `skyline`.
template <int count, class EdgeAt, class ColorAt>
Color ground(Place place, Color sky, float skyline, float shadow, EdgeAt edgeAt, ColorAt colorAt) {
  if (place.y < skyline) return sky;
  const auto rowAt = [](int index) { return Row{index, static_cast<float>(index) / (count - 1)}; };
  std::array<float, count> inside{};
  int first = count - 1;
  for (;; --first) {
    inside[first] = place.y - edgeAt(rowAt(first));
    if (first == 0 || inside[first] > pixel) break;
  }
  Color color = sky;
  for (int index = first; index < count; ++index) {
    const Row row = rowAt(index);
    if (inside[index] < 0) color = color * (1 - shadow * row.nearness * std::exp(inside[index] / 0.03f));
    if (inside[index] > -pixel)
      color = mix(color, colorAt(row, std::max(inside[index], 0.0f)), coverage(inside[index]));
  }
  return color;
}

}  // namespace

Color dunes(Place place) {
  static const Ramp sky{{0, 0xF2A98E}, {0.55f, 0xF9CBA2}, {1, 0xFDE7C4}};
  static const Ramp lit{{0, 0xF6C79A}, {0.5f, 0xEE9C63}, {1, 0xD8703F}};
  static const Ramp shaded{{0, 0xD99A86}, {0.5f, 0xA8573F}, {1, 0x6A2A2B}};
  constexpr Place sun{1.32f, 0.24f};
  const auto crest = [](Row row, float x) {
    const float along = x * mix(1.9f, 0.75f, row.nearness);
    const float wave = noise({along + row.shift(), 0.5f}, row.seed() + 3);
    // Folded at its zero: crests are keen, valleys wide.
    return mix(0.40f, 0.98f, row.nearness * (0.45f + 0.55f * row.nearness)) -
           mix(0.05f, 0.20f, row.nearness) * (1 - 1.9f * std::abs(wave)) +
           0.03f * noise({along * 2.3f, 1.5f}, row.seed() + 4);
  };
  const auto sand = [&](Row row, float depth) {
    // The lee side starts sharp at the crest and softens down the slope.
    const float lean = place.x - 0.9f * depth + 0.05f * noise(place * 3.0f, row.seed() + 5);
    const float step = 0.012f + 0.10f * depth;
    const float slope = (crest(row, lean + step) - crest(row, lean - step)) / (2 * step);
    const float tone = 0.12f + 0.62f * row.nearness + 0.5f * depth;
    const Color grain = mix(shaded(tone), lit(tone - 0.1f), smoothstep(-0.21f, 0.11f, slope));
    const float ripple =
        std::sin(420 * depth / (0.25f + row.nearness) + 9 * noise(place * 4.0f, row.seed() + 6));
    const float relief = 0.035f * ripple * row.nearness * smoothstep(0.0f, 0.05f, depth);
    const float far = 1 - row.nearness;
    return mix(grain * (1 + relief), sky(0.9f), 0.45f * far * far);
  };
  Color above = sky(place.y / 0.5f) + light(0xFFE2B0) * (0.5f * glow(place, sun, 0.22f));
  above = mix(above, light(0xFFF6DF), 0.9f * coverage(0.062f - length(place - sun)));
  return ground<6>(
      place, above, 0.31f, 0, [&](Row row) { return crest(row, place.x); }, sand);
}

Color ridges(Place place) {
  static const Ramp sky{{0, 0x21427A}, {0.45f, 0x7C9CC9}, {0.75f, 0xF3C3B0}, {1, 0xFFE5C2}};
  static const Ramp rock{{0, 0xB9B7CF}, {0.35f, 0x6F86B2}, {0.7f, 0x2C4A7E}, {1, 0x0B1B3D}};
  static const Ramp mist{{0, 0xF7D8C6}, {0.4f, 0xBCC4DC}, {1, 0x5577A8}};
  const auto base = [](Row row) { return mix(0.50f, 1.0f, row.nearness); };
  const auto edge = [&](Row row) {
    const Place along{place.x * mix(2.6f, 1.3f, row.nearness) + row.shift(), 0.37f};
    const float peak = 1 - 2 * std::abs(roughNoise(along, 7, row.seed() + 5));
    return base(row) - mix(0.07f, 0.19f, row.nearness) * peak;
  };
  const auto face = [&](Row row, float) {
    // Mist lies level in the valleys, whatever the peaks above it do.
    const float level = base(row) + 0.02f * noise({place.x * 2.2f, row.shift()}, row.seed());
    const float veil = smoothstep(-0.13f, 0.10f, (place.y - level) / mix(0.55f, 1.2f, row.nearness));
    return mix(rock(row.nearness), mist(row.nearness), 0.9f * veil);
  };
  const Color above = sky(place.y / 0.62f) + light(0xFFD9A0) * (0.55f * glow(place, {0.62f, 0.50f}, 0.26f));
  return ground<7>(place, above, 0.42f, 0, edge, face);
}

Color hills(Place place) {
  static const Ramp sky{{0, 0x4FA9E6}, {0.6f, 0xB5E0F5}, {1, 0xFDF6DC}};
  static const Ramp crest{{0, 0xCFE8A6}, {0.5f, 0x93D05C}, {1, 0x4FAE4A}};
  static const Ramp foot{{0, 0x93C8A2}, {0.5f, 0x2F8A55}, {1, 0x0A4238}};
  const auto edgeAt = [](Row row, float x) {
    const float wave = noise({x * mix(2.0f, 0.95f, row.nearness) + row.shift(), 0.4f}, row.seed() + 40);
    return mix(0.45f, 0.94f, row.nearness) + mix(0.09f, 0.24f, row.nearness) * wave;
  };
  const auto grass = [&](Row row, float depth) {
    constexpr float step = 0.01f;
    const float slope = (edgeAt(row, place.x + step) - edgeAt(row, place.x - step)) / (2 * step);
    // The sun is on the right: what falls toward it is lit.
    const float sun = clamp01(0.5f + 1.3f * slope);
    const float shade = clamp01(depth / mix(0.20f, 0.36f, row.nearness) + 0.55f * (1 - sun) - 0.1f);
    Color blade = mix(crest(row.nearness), foot(row.nearness), shade);
    blade = blade + light(0xF8F4A0) * (0.20f * sun * std::exp(-depth / 0.018f));
    const float far = 1 - row.nearness;
    return mix(blade, sky(0.9f), 0.45f * far * far);
  };
  const Color above = sky(place.y / 0.5f) + light(0xFFF1C0) * (0.30f * glow(place, {1.32f, 0.32f}, 0.34f));
  return ground<6>(
      place, above, 0.25f, 0.3f, [&](Row row) { return edgeAt(row, place.x); }, grass);
}

Color sunset(Place place) {
  static const Ramp sky{
      {0, 0x23124F}, {0.35f, 0x7A2A7E}, {0.65f, 0xE8567A}, {0.86f, 0xFF9A62}, {1, 0xFFD27A}};
  static const Ramp disc{{0, 0xFFE9A6}, {1, 0xFF8A5C}};
  constexpr float horizon = 0.62f;
  static constexpr Place sun{aspect / 2, 0.50f};
  static constexpr float radius = 0.17f;
  const auto skyAt = [](Place p, float blur) {
    const Color color = sky(p.y / horizon) + light(0xFF7A5C) * (0.30f * glow(p, sun, 0.30f));
    return mix(color, disc((p.y - sun.y + radius) / (2 * radius)),
               smoothstep(-blur, blur, radius - length(p - sun)));
  };
  if (place.y < horizon) return skyAt(place, pixel);
  // The sea is the sky upside down, drawn out toward the viewer and broken by ripples that grow as they near.
  const float below = place.y - horizon;
  const float reach = 1 / (below + 0.035f);
  const float ripple = roughNoise({(place.x - sun.x) * reach * 0.8f, reach * 6.0f}, 3, 77);
  const float bend = ripple * (0.010f + 0.24f * below);
  const Place seen{place.x + 0.8f * bend, std::min(horizon - 1.15f * below + bend, horizon - 0.002f)};
  const Color tint = mix(light(0xFFB8A0), light(0x7A2A70), smoothstep(0.0f, 0.36f, below));
  const float path = glow({place.x, 0}, {sun.x, 0}, 0.13f + 0.3f * below);
  const float glitter = smoothstep(0.05f, 0.5f, ripple) * path * std::exp(-3.2f * below);
  return skyAt(seen, 2 * pixel + 0.03f * below) * tint + light(0xFFB878) * (0.5f * glitter) +
         light(0xFFE0B0) * (0.35f * std::exp(-below / 0.004f) * glow({place.x, 0}, {sun.x, 0}, 0.5f));
}

}  // namespace quillant::Wallpapers
