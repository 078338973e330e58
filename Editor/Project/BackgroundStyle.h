#pragma once

#include <string>
#include <variant>
#include <vector>

#include "Core/JSONForward.h"
#include "Core/SerializableColor.h"

// What a recording sits on, as plain data. A document carries the whole preset, not a reference to one: a
// palette that changes leaves saved projects as they were.

namespace quillant {

struct GradientStop {
  SerializableColor color;
  double position = 0;  ///< 0 at the start, 1 at the end.
  friend bool operator==(const GradientStop&, const GradientStop&) = default;
};

struct LinearGradient {
  double angleDegrees = 0;  ///< Where it runs to, clockwise from upwards: 90 is left to right.
  friend bool operator==(const LinearGradient&, const LinearGradient&) = default;
};

struct RadialGradient {
  double centerX = 0.5;  ///< Fractions of the backdrop, origin top left.
  double centerY = 0.5;
  friend bool operator==(const RadialGradient&, const RadialGradient&) = default;
};

using GradientKind = std::variant<LinearGradient, RadialGradient>;

struct GradientPreset {
  std::string id;
  GradientKind kind;
  std::vector<GradientStop> stops;  ///< In any order of position.
  friend bool operator==(const GradientPreset&, const GradientPreset&) = default;
};

struct WallpaperPreset {
  std::string id;
  std::string label;
  std::string fullAssetName;   ///< The picture's file name without extension; it need not exist.
  std::string thumbAssetName;  ///< The thumbnail's.
  friend bool operator==(const WallpaperPreset&, const WallpaperPreset&) = default;
};

struct TransparentBackground {
  friend bool operator==(const TransparentBackground&, const TransparentBackground&) = default;
};

/// The first alternative is the solid colour.
using BackgroundStyle =
    std::variant<SerializableColor, GradientPreset, WallpaperPreset, TransparentBackground>;

void to_json(Json& json, const GradientStop& stop);
void from_json(const Json& json, GradientStop& stop);
void to_json(Json& json, const LinearGradient& gradient);
void from_json(const Json& json, LinearGradient& gradient);
void to_json(Json& json, const RadialGradient& gradient);
void from_json(const Json& json, RadialGradient& gradient);
void to_json(Json& json, const GradientKind& kind);
void from_json(const Json& json, GradientKind& kind);
void to_json(Json& json, const GradientPreset& preset);
void from_json(const Json& json, GradientPreset& preset);
void to_json(Json& json, const WallpaperPreset& preset);
void from_json(const Json& json, WallpaperPreset& preset);
void to_json(Json& json, const TransparentBackground& background);
void from_json(const Json& json, TransparentBackground& background);
void to_json(Json& json, const BackgroundStyle& style);
void from_json(const Json& json, BackgroundStyle& style);

}  // namespace quillant
