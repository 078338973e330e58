#include "packaging/wallpapers/Brushes.h"
#include "packaging/wallpapers/Wallpapers.h"

// What is above the ground.

namespace quillant::Wallpapers {

Color aurora(Place place) {
  static const Ramp night{{0, 0x03081C}, {0.6f, 0x0A2140}, {1, 0x14506A}};
  static const Ramp curtain{{0, 0x8CFFC1}, {0.22f, 0x2FE3A0}, {0.55f, 0x2C8FD8}, {1, 0x7A3FD6}};
  const auto ridge = [&](float order) {
    const float peak = roughNoise({place.x * (2.4f - order), 7 * order + 0.6f}, 6, 90);
    return place.y - (0.86f + 0.07f * order - (0.09f + 0.02f * order) * peak);
  };
  const float near = ridge(1);
  if (near > pixel) return light(0x030B16);
  const float far = ridge(0);
  const Color farRock = mix(light(0x0A2336), light(0x0F3344), smoothstep(0.0f, 0.1f, far));
  if (far > pixel) return mix(farRock, light(0x030B16), coverage(near));

  Color color = night(place.y / 0.95f);
  const float clear = 1 - smoothstep(0.4f, 0.85f, place.y);
  color = color + Color{0.9f, 0.95f, 1} * (clear * stars(place, 0.022f, 0.30f, 9));
  for (int i = 0; i < 3; ++i) {
    const float order = static_cast<float>(i);
    const auto seed = static_cast<std::uint32_t>(i) * 7 + 60;
    const float x = place.x + 0.16f * noise({place.x * 1.4f, place.y * 0.9f + order}, seed);
    const float foot = 0.66f - 0.13f * order + 0.17f * noise({x * 1.15f + 4 * order, 0.3f}, seed + 1) +
                       0.05f * noise({x * 3.4f, 2.3f}, seed + 2);
    const float above = foot - place.y;
    const float folds =
        0.35f + 0.65f * smoothstep(-0.35f, 0.55f, noise({x * 2.1f + 9 * order, 0.8f}, seed + 4));
    color = color + curtain(0.3f) * (0.05f * folds * std::exp(-std::abs(above) / 0.22f));
    if (above < -0.045f) continue;
    // Rays stand upright: noise along the curtain alone, hardly changing with height.
    const float rays = 0.55f + 0.45f * roughNoise({x * 16, place.y * 0.5f + order}, 3, seed + 3);
    const float tall = 0.20f + 0.10f * noise({x * 2.6f, 5.1f}, seed + 5);
    const float body = smoothstep(-0.045f, 0.03f, above) * std::exp(-std::max(above, 0.0f) / tall);
    color = color + curtain(above / 0.52f) * (body * rays * folds * (0.95f - 0.22f * order));
  }
  return mix(mix(color, farRock, coverage(far)), light(0x030B16), coverage(near));
}

Color orbit(Place place) {
  static const Ramp rim{
      {0, 0xEAFBFF}, {0.18f, 0x7BD6FF}, {0.45f, 0x2B7BFF}, {0.75f, 0x2A2FA8}, {1, 0x070718}};
  constexpr Place center{aspect * 0.5f, 2.34f};
  constexpr float radius = 1.62f;
  const Place offset = place - center;
  const float altitude = length(offset) - radius;
  // The sun is behind the limb, right of the middle: its side of the air shines, the other fades out.
  const float angle = std::atan2(offset.x, -offset.y);
  const float facing = std::exp(-(angle - 0.16f) * (angle - 0.16f) / 0.16f);
  Color sky = light(0x04050F) + light(0x1B1145) * (0.55f * glow(place, {0.35f, 0.15f}, 0.6f)) +
              light(0x0B2B55) * (0.5f * glow(place, {1.5f, 0.05f}, 0.6f));
  const float dust = roughNoise(place * 2.2f + Place{3, 1}, 5, 140);
  sky = sky * (1 + 0.45f * dust);
  sky = sky + Color{0.92f, 0.95f, 1} * (stars(place, 0.026f, 0.34f, 15) *
                                        (1 - 0.8f * std::exp(-std::max(altitude, 0.0f) / 0.12f)));
  const float air = std::exp(-std::max(altitude, 0.0f) / 0.062f);
  sky = sky + rim(clamp01(altitude / 0.20f) * 0.85f + 0.15f) * (air * (0.10f + 1.25f * facing));
  sky = sky + light(0xBFE9FF) * (0.9f * facing * std::exp(-std::max(altitude, 0.0f) / 0.010f));
  const float depth = std::max(-altitude, 0.0f);
  Color ground = light(0x02040C) + light(0x0D4FB8) * (0.55f * (0.12f + facing) * std::exp(-depth / 0.07f));
  ground = ground + light(0x9FDCFF) * (0.8f * facing * std::exp(-depth / 0.008f));
  Color color = mix(sky, ground, coverage(-altitude));
  const Place sun{center.x + radius * std::sin(0.16f), center.y - radius * std::cos(0.16f)};
  color = color + light(0xFFF4E0) * (1.1f * glow(place, sun, 0.035f)) +
          light(0x4A8CFF) * (0.30f * glow(place, sun, 0.14f));
  const float flare = std::exp(-std::abs(place.y - sun.y) / 0.004f - std::abs(place.x - sun.x) / 0.16f);
  return color + light(0xCFE6FF) * (0.16f * flare);
}

}  // namespace quillant::Wallpapers
