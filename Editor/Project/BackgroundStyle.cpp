#include "Editor/Project/BackgroundStyle.h"

#include <string_view>

#include "Core/JSONFields.h"

namespace quillant {

namespace {

JSONError notOneKey() {
  return {JSONError::Kind::invalidValue, "Invalid number of keys found, expected one."};
}

/// The one key of an object that stands for an enumeration's case.
std::string_view caseName(const Json& json) {
  if (!json.is_object()) JSON::throwWrongType(json, "an object");
  if (json.size() != 1) throw notOneKey();
  return json.items().begin().key();
}

/// A case's payload is the only member of an object, without a name of its own.
template <class T>
struct Payload {
  T value;
};

template <class T>
void from_json(const Json& json, Payload<T>& payload) {
  payload.value = JSON::required<T>(json, "_0");
}

template <class T>
T payload(const Json& json, std::string_view name) {
  return JSON::required<Payload<T>>(json, name).value;
}

constexpr auto stopFields = [](auto& stop, const auto& field) {
  field("color", stop.color);
  field("position", stop.position);
};

constexpr auto linearFields = [](auto& gradient, const auto& field) {
  field("angleDegrees", gradient.angleDegrees);
};

constexpr auto radialFields = [](auto& gradient, const auto& field) {
  field("centerX", gradient.centerX);
  field("centerY", gradient.centerY);
};

constexpr auto gradientFields = [](auto& preset, const auto& field) {
  field("id", preset.id);
  field("kind", preset.kind);
  field("stops", preset.stops);
};

constexpr auto wallpaperFields = [](auto& preset, const auto& field) {
  field("id", preset.id);
  field("label", preset.label);
  field("fullAssetName", preset.fullAssetName);
  field("thumbAssetName", preset.thumbAssetName);
};

}  // namespace

void to_json(Json& json, const GradientStop& stop) {
  JSON::writeFields(json, stop, stopFields);
}

void from_json(const Json& json, GradientStop& stop) {
  JSON::readFields(json, stop, stopFields);
}

void to_json(Json& json, const LinearGradient& gradient) {
  JSON::writeFields(json, gradient, linearFields);
}

void from_json(const Json& json, LinearGradient& gradient) {
  JSON::readFields(json, gradient, linearFields);
}

void to_json(Json& json, const RadialGradient& gradient) {
  JSON::writeFields(json, gradient, radialFields);
}

void from_json(const Json& json, RadialGradient& gradient) {
  JSON::readFields(json, gradient, radialFields);
}

void to_json(Json& json, const GradientKind& kind) {
  if (const auto* linear = std::get_if<LinearGradient>(&kind))
    json = {{"linear", *linear}};
  else
    json = {{"radial", std::get<RadialGradient>(kind)}};
}

void from_json(const Json& json, GradientKind& kind) {
  const auto name = caseName(json);
  if (name == "linear")
    kind = JSON::required<LinearGradient>(json, name);
  else if (name == "radial")
    kind = JSON::required<RadialGradient>(json, name);
  else
    throw notOneKey();
}

void to_json(Json& json, const GradientPreset& preset) {
  JSON::writeFields(json, preset, gradientFields);
}

void from_json(const Json& json, GradientPreset& preset) {
  JSON::readFields(json, preset, gradientFields);
}

void to_json(Json& json, const WallpaperPreset& preset) {
  JSON::writeFields(json, preset, wallpaperFields);
}

void from_json(const Json& json, WallpaperPreset& preset) {
  JSON::readFields(json, preset, wallpaperFields);
}

void to_json(Json& json, const TransparentBackground&) {
  json = Json::object();
}

void from_json(const Json& json, TransparentBackground&) {
  if (!json.is_object()) JSON::throwWrongType(json, "an object");
}

void to_json(Json& json, const BackgroundStyle& style) {
  if (const auto* color = std::get_if<SerializableColor>(&style))
    json = {{"solid", {{"_0", *color}}}};
  else if (const auto* gradient = std::get_if<GradientPreset>(&style))
    json = {{"gradient", {{"_0", *gradient}}}};
  else if (const auto* wallpaper = std::get_if<WallpaperPreset>(&style))
    json = {{"wallpaper", {{"_0", *wallpaper}}}};
  else
    json = {{"transparent", std::get<TransparentBackground>(style)}};
}

void from_json(const Json& json, BackgroundStyle& style) {
  const auto name = caseName(json);
  if (name == "solid")
    style = payload<SerializableColor>(json, name);
  else if (name == "gradient")
    style = payload<GradientPreset>(json, name);
  else if (name == "wallpaper")
    style = payload<WallpaperPreset>(json, name);
  else if (name == "transparent")
    style = JSON::required<TransparentBackground>(json, name);
  else
    throw notOneKey();
}

}  // namespace quillant
