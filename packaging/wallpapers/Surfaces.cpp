#include "packaging/wallpapers/Brushes.h"
#include "packaging/wallpapers/Wallpapers.h"

// Paper, paint, sand and glass, lit from the upper left.

namespace quillant::Wallpapers {

Color papercut(Place place) {
  static const Ramp paper{{0, 0x0B3B4A},     {0.25f, 0x0F6470}, {0.5f, 0x2E9C98},
                          {0.72f, 0x8CCFBB}, {0.88f, 0xE6E3C4}, {1, 0xFFF6E3}};
  constexpr int sheets = 9;
  const auto height = [](Place p) {
    const Place q = p + Place{noise(p * 1.1f, 301), noise(p * 1.1f, 302)} * 0.28f;
    const float bowl = length({(q.x - aspect * 0.52f) * 0.80f, q.y - 0.50f});
    return 0.06f + 1.05f * bowl + 0.20f * noise(q * 1.9f, 303);
  };
  constexpr float e = 0.002f;
  const float here = height(place);
  const float dx = (height(place + Place{e, 0}) - here) / e;
  const float dy = (height(place + Place{0, e}) - here) / e;
  const float slope = std::max(std::hypot(dx, dy), 0.25f);
  const float level = std::max(here * sheets, 0.0f);
  const float lower = std::min(std::floor(level), sheets - 1.0f);
  // Distances to the edges of the sheet on top here, and of the next one above it.
  const float fromEdge = (level - lower) / sheets / slope;
  const float toNext = (lower + 1 - level) / sheets / slope;
  const auto sheetAt = [&](float index) { return paper(index / (sheets - 1)); };
  const float fiber =
      1 + 0.012f * noise(place * 260, 304) + 0.010f * noise({place.x * 40, place.y * 420}, 305);
  Color color = sheetAt(lower) * fiber;
  // The next sheet's shadow reaches farther where the light comes over its edge.
  const float toward = clamp01(0.5f - 0.5f * (dx * 0.6f + dy * 0.8f) / slope);
  if (lower < sheets - 1) {
    const float reach = mix(0.010f, 0.058f, toward);
    color = color * (1 - 0.50f * std::exp(-toNext / reach) - 0.14f * std::exp(-toNext / 0.004f));
  }
  if (lower > 0) {
    color = color + sheetAt(lower) * (0.22f * (1 - toward) * std::exp(-fromEdge / 0.0016f));
    const Color under = sheetAt(lower - 1) * (0.36f + 0.3f * (1 - toward));
    color = mix(under, color, clamp01(fromEdge / pixel));
  }
  return color;
}

Color lacquer(Place place) {
  static const Ramp paint{
      {0, 0x050B22}, {0.30f, 0x0E2A5C}, {0.52f, 0x1F5E93}, {0.75f, 0x7FC4DA}, {1, 0xE9F4EE}};
  const Place p = turned(place, 20) * 0.85f;
  const auto flow = [&](Place at) {
    const Place q{roughNoise(at, 2, 320), roughNoise(at + Place{5.2f, 1.3f}, 2, 320)};
    const Place bent = at + q * 1.5f;
    const Place r{roughNoise(bent + Place{1.7f, 9.2f}, 2, 321), roughNoise(bent + Place{8.3f, 2.8f}, 2, 321)};
    return roughNoise(at * 0.8f + r * 1.5f, 2, 322);
  };
  constexpr float e = 0.004f;
  const float here = flow(p);
  const float dx = (flow(p + Place{e, 0}) - here) / e;
  const float dy = (flow(p + Place{0, e}) - here) / e;
  const float tone = 0.46f + 0.62f * here;
  const float norm = 1 / std::sqrt(1 + 0.10f * (dx * dx + dy * dy));
  const float lit = (0.75f + 0.16f * (dx + dy)) * norm;
  Color color = paint(tone) * (0.45f + 0.75f * clamp01(lit));
  const float half = clamp01((0.93f + 0.10f * (dx + 0.8f * dy)) * norm);
  return color + light(0xBFDCFF) * (0.22f * std::pow(half, 40.0f));
}

Color contours(Place place) {
  static const Ramp ground{{0, 0x0B1512}, {0.5f, 0x12241E}, {1, 0x203B30}};
  static const Ramp ink{{0, 0x2E6B57}, {0.5f, 0x5FA58A}, {1, 0xD9C48A}};
  const auto height = [](Place p) {
    const Place q = p + Place{noise(p * 0.9f, 341), noise(p * 0.9f, 342)} * 0.35f;
    return 0.5f + 0.42f * noise(q * 1.25f, 343) + 0.13f * noise(q * 2.7f, 344) +
           0.035f * noise(q * 6.1f, 345);
  };
  constexpr float e = 0.001f;
  const float here = height(place);
  const float dx = (height(place + Place{e, 0}) - here) / e;
  const float dy = (height(place + Place{0, e}) - here) / e;
  const float slope = std::max(std::hypot(dx, dy), 0.01f);
  Color color = ground(here) * clamp01(1 - 0.22f * (dx * 0.6f + dy * 0.8f));
  constexpr float levels = 44;
  const float level = here * levels;
  const float nearest = std::round(level);
  const float distance = std::abs(level - nearest) / levels / slope;
  const bool major = std::fmod(nearest, 5.0f) == 0;
  const float width = (major ? 1.5f : 0.8f) * pixel;
  const float line = clamp01((width - distance) / pixel + 0.5f);
  // On level ground a line would spread into a blot: let it fade there.
  const float strength = (major ? 0.62f : 0.26f) * smoothstep(0.015f, 0.07f, slope);
  color = mix(color, ink(here), line * strength);
  return color * vignette(place, 0.35f);
}

Color ripples(Place place) {
  static const Ramp stone{{0, 0x9CA3B4}, {0.5f, 0xD9DDE6}, {1, 0xFCFCFD}};
  const auto height = [](Place p) {
    const float r = length(p - Place{0.50f, 0.60f});
    return 0.0165f * std::cos(r * 40) * std::exp(-r * 1.3f) + 0.012f * noise(p * 0.9f, 360);
  };
  constexpr float e = 0.0015f;
  const float here = height(place);
  const float dx = (height(place + Place{e, 0}) - here) / e;
  const float dy = (height(place + Place{0, e}) - here) / e;
  const float lit =
      0.60f + 0.48f * (dx * 0.6f + dy * 0.8f) - 0.12f * (place.y - 0.5f) - 0.06f * (place.x / aspect - 0.5f);
  Color color = stone(lit);
  const float spark = std::exp(-((dx - 0.42f) * (dx - 0.42f) + (dy - 0.5f) * (dy - 0.5f)) / 0.02f);
  return color + Color{1, 1, 1} * (0.12f * spark);
}

Color shards(Place place) {
  struct Pane {
    float angle;   ///< Of its edge, in degrees from the horizontal.
    float offset;  ///< Of its edge from the picture's middle.
    Ramp colors;   ///< From the edge inward.
    float opacity;
  };
  static const Pane panes[] = {
      {58, -0.62f, Ramp{{0, 0x2C6BFF}, {1, 0x0B2A9C}}, 0.85f},
      {-38, -0.20f, Ramp{{0, 0x19A7FF}, {1, 0x0A3FC0}}, 0.55f},
      {64, -0.12f, Ramp{{0, 0x38D3F5}, {1, 0x1257D8}}, 0.75f},
      {-52, 0.16f, Ramp{{0, 0x6C5BFF}, {1, 0x1E1FA0}}, 0.60f},
      {47, 0.20f, Ramp{{0, 0x62F0DC}, {1, 0x0F7FD0}}, 0.70f},
      {-30, 0.46f, Ramp{{0, 0x2A3BD6}, {1, 0x0A0F5C}}, 0.72f},
      {70, 0.52f, Ramp{{0, 0xB7FFE9}, {1, 0x1FA7E0}}, 0.65f},
  };
  static const Ramp depth{{0, 0x0A1E7A}, {1, 0x040A33}};
  Color color = depth(place.y);
  for (const Pane& pane : panes) {
    const float angle = pane.angle * pi / 180;
    const Place p = place - Place{aspect / 2, 0.5f};
    const float inside = p.x * std::sin(angle) - p.y * std::cos(angle) - pane.offset;
    const float along = p.x * std::cos(angle) + p.y * std::sin(angle);
    if (inside < 0) color = color * (1 - 0.40f * std::exp(inside / 0.05f));
    if (inside < -pixel) continue;
    const float fade = std::exp(-std::max(inside, 0.0f) / 0.55f) *
                       (0.72f + 0.28f * std::sin(along * 2.1f + pane.offset * 9));
    Color glass = pane.colors(inside / 0.75f);
    Color through = mix(color, glass, pane.opacity * (0.35f + 0.65f * fade));
    through = through +
              pane.colors(0) * (0.50f * std::exp(-std::max(inside, 0.0f) / 0.0024f) * (0.45f + 0.55f * fade));
    color = mix(color, through, coverage(inside));
  }
  return color;
}

}  // namespace quillant::Wallpapers
