#include <span>

#include "packaging/wallpapers/Brushes.h"
#include "packaging/wallpapers/Wallpapers.h"

// Soft fields of colour, and glass before them.

namespace quillant::Wallpapers {

namespace {

struct Spot {
  Spot(Place center_, std::uint32_t hex, float reach_ = 1)
      : center(center_), lab(toOklab(light(hex))), reach(reach_) {}
  Place center;
  Color lab;
  float reach;
};

/// Every spot colours the place by its nearness; the field has no edges. `warp` bends it.
Color field(std::span<const Spot> spots, Place place, float warp, std::uint32_t seed) {
  const Place p = place + Place{noise(place * 1.3f, seed), noise(place * 1.3f, seed + 1)} * warp;
  Color sum;
  float total = 0;
  for (const Spot& spot : spots) {
    const Place offset = p - spot.center;
    const float nearness = (offset.x * offset.x + offset.y * offset.y) / (spot.reach * spot.reach) + 0.012f;
    const float weight = 1 / (nearness * std::sqrt(nearness));
    sum = sum + spot.lab * weight;
    total += weight;
  }
  return fromOklab(sum * (1 / total));
}

}  // namespace

Color petals(Place place) {
  static const Spot spots[] = {
      {{0.10f, 0.10f}, 0xFFD9C7}, {{0.75f, -0.05f}, 0xFBC4D8}, {{1.50f, 0.10f}, 0xC9C3FA},
      {{0.30f, 0.60f}, 0xFDE9CF}, {{0.95f, 0.52f}, 0xF3B5D6},  {{1.65f, 0.62f}, 0xA9CDFB},
      {{0.05f, 1.05f}, 0xBFE3F6}, {{0.80f, 1.05f}, 0xD6C6FB},  {{1.45f, 1.05f}, 0xFBD0DC},
  };
  return field(spots, place, 0.34f, 200);
}

Color ember(Place place) {
  struct Lamp {
    Place center;
    Place reach;
    std::uint32_t hex;
    float strength;
  };
  static const Lamp lamps[] = {
      {{0.15f, 1.05f}, {0.75f, 0.55f}, 0x4A2BE0, 0.85f}, {{0.62f, 1.12f}, {0.60f, 0.46f}, 0xB02AE0, 0.80f},
      {{1.02f, 1.20f}, {0.62f, 0.48f}, 0xFF3D7F, 0.95f}, {{1.32f, 1.24f}, {0.44f, 0.36f}, 0xFF8A3D, 0.90f},
      {{1.70f, 0.98f}, {0.50f, 0.50f}, 0x6A2BE8, 0.55f}, {{0.35f, -0.15f}, {0.90f, 0.40f}, 0x2038A8, 0.22f},
  };
  const Place p = place + Place{noise(place * 1.1f, 230), noise(place * 1.1f, 231)} * 0.16f;
  Color color = light(0x07060F);
  for (const Lamp& lamp : lamps) {
    const Place offset = p - lamp.center;
    color = color + light(lamp.hex) *
                        (lamp.strength * glow({offset.x / lamp.reach.x, offset.y / lamp.reach.y}, {0, 0}, 1));
  }
  // As film does: bright light loses its colour slowly instead of being cut off.
  const auto soften = [](float value) { return 1 - std::exp(-1.25f * value); };
  return {soften(color.r), soften(color.g), soften(color.b)};
}

Color reeds(Place place) {
  static const Spot spots[] = {
      {{0.05f, 0.0f}, 0x2A1B6B, 1.0f},  {{0.60f, 0.15f}, 0xE8447A, 0.9f}, {{1.25f, -0.05f}, 0xFF9B54, 1.0f},
      {{1.75f, 0.35f}, 0xFFD9A0, 0.9f}, {{0.20f, 0.70f}, 0x6A2BC0, 1.0f}, {{0.85f, 0.75f}, 0xFF6A5E, 0.9f},
      {{1.45f, 0.95f}, 0xD63A8C, 1.0f}, {{0.02f, 1.10f}, 0x14124A, 1.0f}, {{1.85f, 1.10f}, 0x4A1F9A, 0.9f},
  };
  // Each reed is a lens across its width: it gathers a wide stretch of the field and turns it around.
  constexpr float width = aspect / 22;
  const float reed = std::floor(place.x / width);
  const float across = place.x / width - reed - 0.5f;
  const float bulge = std::sqrt(std::max(1 - 3.6f * across * across, 0.02f));
  const Place seen{(reed + 0.5f) * width - across * 3.1f * width, place.y + 0.05f * across};
  Color color = field(spots, seen, 0.25f, 260) * (0.72f + 0.34f * bulge);
  color = color + light(0xFFE9E0) * (0.10f * std::exp(-(across + 0.30f) * (across + 0.30f) / 0.006f));
  const float seam = (0.5f - std::abs(across)) * width;
  return color * (1 - 0.35f * std::exp(-seam / 0.0022f));
}

Color bubbles(Place place) {
  struct Ball {
    Place center;
    float radius;
    Ramp colors;  ///< From its shade to its light.
  };
  static const Ball balls[] = {
      {{0.20f, 0.20f}, 0.085f, Ramp{{0, 0x9F7FE6}, {0.55f, 0xCDB8FB}, {1, 0xF7F0FF}}},
      {{1.50f, 0.25f}, 0.17f, Ramp{{0, 0xE8649A}, {0.55f, 0xFDA6BE}, {1, 0xFFEAF0}}},
      {{1.28f, 0.80f}, 0.10f, Ramp{{0, 0x4F9BE8}, {0.55f, 0x9CCBFA}, {1, 0xEFF8FF}}},
      {{0.40f, 0.74f}, 0.24f, Ramp{{0, 0xF0795A}, {0.55f, 0xFFB48E}, {1, 0xFFF0E2}}},
      {{0.83f, 0.34f}, 0.055f, Ramp{{0, 0x45B8A6}, {0.55f, 0x95E2D2}, {1, 0xECFFFA}}},
      {{1.68f, 0.86f}, 0.055f, Ramp{{0, 0x9F7FE6}, {0.55f, 0xCDB8FB}, {1, 0xF7F0FF}}},
  };
  static const Spot wall[] = {
      {{0.0f, 0.0f}, 0xFDEBE2}, {{0.9f, -0.1f}, 0xF8DDEA}, {{1.8f, 0.0f}, 0xE4DDFA},
      {{0.0f, 1.0f}, 0xFBE0D2}, {{0.9f, 1.1f}, 0xEDDDF6},  {{1.8f, 1.0f}, 0xDBE6FB},
  };
  Color color = field(wall, place, 0.2f, 290);
  for (const Ball& ball : balls) {
    const float shade = length((place - ball.center - Place{0.10f, 0.16f} * (ball.radius / 0.2f)));
    color = mix(color, color * ball.colors(0.25f), 0.55f * smoothstep(1.5f, 0.2f, shade / ball.radius));
  }
  for (const Ball& ball : balls) {
    const Place n = (place - ball.center) * (1 / ball.radius);
    const float inside = (1 - length(n)) * ball.radius;
    if (inside < -pixel) continue;
    const float nz = std::sqrt(std::max(1 - n.x * n.x - n.y * n.y, 0.0f));
    const float diffuse = clamp01(0.48f - 0.42f * n.x - 0.52f * n.y + 0.22f * nz);
    Color body = ball.colors(0.06f + 0.80f * diffuse);
    // Light that the wall throws back from below, and the rim that looks past the ball.
    body = body + ball.colors(0.7f) * (0.16f * clamp01(0.6f * n.x + 0.7f * n.y) * (1 - nz));
    body = mix(body, ball.colors(0.9f), 0.30f * std::pow(1 - nz, 3.0f));
    const Place shine = n - Place{-0.36f, -0.44f};
    body = body + Color{1, 1, 1} * (0.38f * std::exp(-(shine.x * shine.x + shine.y * shine.y) / 0.05f));
    color = mix(color, body, coverage(inside));
  }
  return color;
}

}  // namespace quillant::Wallpapers
