#include "Editor/Project/BackgroundPresets.h"

#include <initializer_list>
#include <string_view>

#include "Core/Geometry.h"

namespace quillant::BackgroundPresets {

namespace {

struct Stop {
  std::string_view hex;
  double position;
};

GradientPreset gradient(std::string_view id, GradientKind kind, std::initializer_list<Stop> stops) {
  GradientPreset preset{std::string(id), kind, {}};
  for (const auto& stop : stops)
    preset.stops.push_back({SerializableColor::fromHex(stop.hex), stop.position});
  return preset;
}

GradientPreset linear(std::string_view id, double angleDegrees, std::initializer_list<Stop> stops) {
  return gradient(id, LinearGradient{angleDegrees}, stops);
}

GradientPreset radial(std::string_view id, Point center, std::initializer_list<Stop> stops) {
  return gradient(id, RadialGradient{center.x, center.y}, stops);
}

// Two far hues meet in grey when they are mixed component by component: where a blend crosses the colour
// wheel, a stop between them keeps it clear.
std::vector<GradientPreset> makeGradients() {
  return {
      linear("studio-blue", 135, {{"#1c2b40", 0}, {"#080a0f", 1}}),
      linear("studio-purple", 135, {{"#1f1a30", 0}, {"#05080d", 1}}),
      linear("studio-green", 135, {{"#1a2e24", 0}, {"#080a0a", 1}}),
      linear("studio-amber", 135, {{"#332e24", 0}, {"#0d0a0a", 1}}),
      linear("sunrise", 111.6,
             {{"#72a7e8", 0.094}, {"#fd8152", 0.439}, {"#fd8152", 0.548}, {"#f9ca56", 0.863}}),
      linear("fresh-grass", 120, {{"#d4fc79", 0}, {"#96e6a1", 1}}),
      radial("magenta-burst", {0.32, 0.28}, {{"#ff86b8", 0}, {"#d81e84", 0.42}, {"#4b0c5c", 1}}),
      linear("ocean-sand", 160, {{"#17627f", 0}, {"#6fb6b6", 0.52}, {"#f3dfb8", 1}}),
      linear("warm-citrus", 125, {{"#ffd84d", 0}, {"#ff9d3d", 0.5}, {"#ff5f45", 1}}),
      linear("spring-meadow", 135, {{"#f3f39a", 0}, {"#a5dd6c", 0.45}, {"#37a574", 1}}),
      radial("deep-teal", {0.5, 0.3}, {{"#23908f", 0}, {"#0d4f5b", 0.5}, {"#06232d", 1}}),
      linear("midnight-cyan", 135, {{"#090d24", 0}, {"#0f3560", 0.48}, {"#1fb6cd", 1}}),
      linear("peach-blue", 135, {{"#ffc8a2", 0}, {"#f2b9c6", 0.45}, {"#86b6f0", 1}}),
      linear("magenta-lime", 120, {{"#de1f86", 0}, {"#ff9653", 0.5}, {"#c9ee4d", 1}}),
      linear("red-green", 90, {{"#FF0101", 0}, {"#4DFF01", 1}}),
      linear("crimson-violet", 135, {{"#e11d48", 0}, {"#9b1c8a", 0.52}, {"#4a22b5", 1}}),
      linear("blush", 135, {{"#fff0ea", 0}, {"#fccfcb", 0.5}, {"#f3a0ab", 1}}),
      linear("lavender-rose", 135, {{"#bfb4fa", 0}, {"#e3aee0", 0.5}, {"#fba8b6", 1}}),
      linear("coral-spectrum", 125, {{"#ffa585", 0}, {"#ff6b8b", 0.34}, {"#a862c4", 0.68}, {"#4569e0", 1}}),
      linear("mint-sky", 135, {{"#bdf7d6", 0}, {"#8edcf0", 0.5}, {"#6ea6f7", 1}}),
      linear("ocean-current", 135, {{"#0c2456", 0}, {"#1568b0", 0.5}, {"#31cbc9", 1}}),
      linear("northern-lights", 155, {{"#0a1836", 0}, {"#0e5f72", 0.4}, {"#46cf92", 0.7}, {"#7d9df0", 1}}),
      linear("raspberry-lemon", 125, {{"#c91a5e", 0}, {"#ff7a55", 0.52}, {"#ffe266", 1}}),
      linear("deep-cosmos", 145, {{"#070618", 0}, {"#23124f", 0.42}, {"#5f2a93", 0.76}, {"#c2569d", 1}}),
      linear("candy-floss", 120, {{"#ffb0d6", 0}, {"#d6b9ff", 0.5}, {"#a2d8ff", 1}}),
      linear("salmon-stripe", 115, {{"#ffb59f", 0}, {"#f67f70", 0.36}, {"#ffc5ae", 0.66}, {"#ec6a63", 1}}),
      linear("denim-sky", 160, {{"#21365a", 0}, {"#4c7aac", 0.52}, {"#bcd8ee", 1}}),
      linear("electric-blue", 135, {{"#2413e6", 0}, {"#0a6cff", 0.52}, {"#12d3ff", 1}}),
  };
}

std::vector<WallpaperPreset> makeWallpapers() {
  std::vector<WallpaperPreset> presets;
  for (int n = 1; n <= 18; ++n) {
    const std::string number = std::to_string(n);
    presets.push_back({.id = "wallpaper-" + number,
                       .label = "Wallpaper " + number,
                       .fullAssetName = "wallpaper" + number,
                       .thumbAssetName = "wallpaper" + number + "-thumb"});
  }
  return presets;
}

}  // namespace

const std::vector<GradientPreset>& gradients() {
  static const auto presets = makeGradients();
  return presets;
}

const std::vector<WallpaperPreset>& wallpapers() {
  static const auto presets = makeWallpapers();
  return presets;
}

BackgroundStyle default_() {
  return wallpapers().front();
}

}  // namespace quillant::BackgroundPresets
