#include <array>

#include "packaging/wallpapers/Brushes.h"
#include "packaging/wallpapers/Wallpapers.h"

// Sheets and strands that flow across the picture.

namespace quillant::Wallpapers {

namespace {

struct Sheet {
  float height;  ///< Where its edge runs, in heights of the picture.
  float swing;
  float frequency;
  float phase;
  Ramp colors;  ///< From its edge downward.
};

/// Sheets over each other, the first at the back: each is lit along its edge by `sheen` and throws a soft
/// shadow upward.
template <std::size_t count>
Color sheets(const std::array<Sheet, count>& list, Color behind, Place place, float sheen, float shadow) {
  Color color = behind;
  for (const Sheet& sheet : list) {
    const float angle = sheet.frequency * place.x + sheet.phase;
    const float second = 2.3f * angle + 1.7f * sheet.phase;
    const float edge = sheet.height + sheet.swing * (std::sin(angle) + 0.22f * std::sin(second));
    const float slope = sheet.swing * sheet.frequency * (std::cos(angle) + 0.5f * std::cos(second));
    const float inside = (place.y - edge) / std::sqrt(1 + slope * slope);
    if (inside < 0) {
      color = color * (1 - shadow * (std::exp(inside / 0.055f) + 0.45f * std::exp(inside / 0.012f)));
      if (inside < -pixel) continue;
    }
    const float depth = std::max(inside, 0.0f);
    // Cloth catches the light where it turns toward it.
    const float turn = 0.5f - 0.5f * std::sin(angle + 0.9f - 2.2f * depth);
    Color cloth = sheet.colors(depth / 0.52f + 0.10f * slope);
    cloth = cloth * (0.80f + 0.34f * turn);
    cloth = cloth + sheet.colors(0) * (sheen * (0.3f + 0.7f * turn) * std::exp(-depth / 0.010f)) +
            sheet.colors(0) * (0.35f * sheen * turn * std::exp(-depth / 0.07f));
    color = mix(color, cloth, coverage(inside));
  }
  return color;
}

}  // namespace

Color silk(Place place) {
  static const std::array<Sheet, 7> list = {{
      {0.06f, 0.10f, 2.1f, 0.3f, Ramp{{0, 0x3A2BC4}, {1, 0x160F63}}},
      {0.20f, 0.13f, 1.9f, 2.0f, Ramp{{0, 0x5B35E0}, {1, 0x24137F}}},
      {0.37f, 0.12f, 2.3f, 3.9f, Ramp{{0, 0x8C3FEA}, {1, 0x3B1796}}},
      {0.53f, 0.13f, 1.8f, 5.6f, Ramp{{0, 0xCB49DE}, {1, 0x6420A4}}},
      {0.69f, 0.12f, 2.2f, 1.2f, Ramp{{0, 0xF9609F}, {1, 0x9A2A93}}},
      {0.86f, 0.11f, 1.9f, 3.1f, Ramp{{0, 0xFF8E73}, {1, 0xD2416F}}},
      {1.02f, 0.10f, 2.2f, 4.8f, Ramp{{0, 0xFFC58A}, {1, 0xF4785F}}},
  }};
  static const Ramp sky{{0, 0x0B0A33}, {1, 0x241A80}};
  const Place p = turned(place, -17);
  return sheets(list, sky(p.y + 0.5f), p, 0.28f, 0.42f);
}

Color tide(Place place) {
  static const std::array<Sheet, 6> list = {{
      {0.12f, 0.09f, 1.7f, 0.8f, Ramp{{0, 0xDDF3F4}, {1, 0x9ED8E2}}},
      {0.29f, 0.11f, 1.9f, 2.9f, Ramp{{0, 0xB4E6EA}, {1, 0x62BFD3}}},
      {0.46f, 0.10f, 1.6f, 5.0f, Ramp{{0, 0x7CD0DE}, {1, 0x2C97BE}}},
      {0.62f, 0.11f, 2.0f, 0.6f, Ramp{{0, 0x3FB0CF}, {1, 0x14699F}}},
      {0.79f, 0.10f, 1.7f, 2.7f, Ramp{{0, 0x1F84B8}, {1, 0x0E457F}}},
      {0.95f, 0.09f, 1.9f, 4.6f, Ramp{{0, 0x125B98}, {1, 0x0A2C5E}}},
  }};
  static const Ramp sky{{0, 0xFBF6EC}, {1, 0xCFECEE}};
  return sheets(list, sky(place.y * 2), turned(place, 9), 0.12f, 0.24f);
}

Color strands(Place place) {
  struct Bundle {
    float height, swing, frequency, phase, width, twist, lines;
    Ramp colors;
  };
  static const std::array<Bundle, 3> bundles = {{
      {0.56f, 0.15f, 2.2f, 0.4f, 0.20f, 1.3f, 34, Ramp{{0, 0x3D5BFF}, {0.5f, 0x22C7FF}, {1, 0x7BFFE0}}},
      {0.50f, 0.19f, 1.9f, 2.2f, 0.24f, 2.0f, 40, Ramp{{0, 0xFF3D8B}, {0.5f, 0x9B4DFF}, {1, 0x3D6BFF}}},
      {0.62f, 0.12f, 2.7f, 4.4f, 0.15f, 0.4f, 26, Ramp{{0, 0xFFB25B}, {0.5f, 0xFF5D7A}, {1, 0xC03DFF}}},
  }};
  static const Ramp night{{0, 0x0A0C1C}, {1, 0x030409}};
  Color color = night(length(place - Place{aspect * 0.5f, 0.55f}) / 1.05f);
  for (const Bundle& bundle : bundles) {
    const float angle = bundle.frequency * place.x + bundle.phase;
    const float middle = bundle.height + bundle.swing * std::sin(angle);
    // The bundle turns about itself: its width passes through almost nothing and comes back.
    const float width = bundle.width * (0.16f + std::abs(std::sin(0.5f * angle + bundle.twist)));
    const float across = (place.y - middle) / width;
    if (std::abs(across) > 1.6f) continue;
    const float slope = bundle.swing * bundle.frequency * std::cos(angle) + across * 0.4f * bundle.width;
    const float spacing = 2 * width / bundle.lines / std::sqrt(1 + slope * slope);
    const float line = (across + 1) * bundle.lines / 2;
    const float distance = std::abs(line - std::round(line)) * spacing;
    const float thickness = 0.9f * pixel;
    // Where strands lie closer than their thickness they merge into a sheet of the same light.
    const float sharp = std::exp(-distance * distance / (thickness * thickness));
    const float even = clamp01(1.7725f * thickness / spacing);
    const float strand = mix(sharp, even, smoothstep(4 * pixel, 2 * pixel, spacing));
    const float fade = std::pow(clamp01(1 - across * across), 1.2f);
    const float along =
        0.35f + 0.65f * smoothstep(0.0f, 0.5f, 0.5f + 0.5f * std::sin(0.8f * angle + 1 + across));
    const Color hue = bundle.colors(0.5f + 0.5f * across);
    color = color + hue * (fade * along * (0.85f * strand + 0.08f)) +
            hue * (0.05f * along * std::exp(-across * across * 1.5f));
  }
  return color;
}

}  // namespace quillant::Wallpapers
