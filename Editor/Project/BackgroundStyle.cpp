#include "Editor/Project/BackgroundStyle.h"

#include <string_view>

#include "Core/JSON.h"

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

}  // namespace

void to_json(Json& json, const GradientStop& stop) {
  json = {{"color", stop.color}, {"position", stop.position}};
}

void from_json(const Json& json, GradientStop& stop) {
  stop.color = JSON::required<SerializableColor>(json, "color");
  stop.position = JSON::required<double>(json, "position");
}

void to_json(Json& json, const LinearGradient& gradient) {
  json = {{"angleDegrees", gradient.angleDegrees}};
}

void from_json(const Json& json, LinearGradient& gradient) {
  gradient.angleDegrees = JSON::required<double>(json, "angleDegrees");
}

void to_json(Json& json, const RadialGradient& gradient) {
  json = {{"centerX", gradient.centerX}, {"centerY", gradient.centerY}};
}

void from_json(const Json& json, RadialGradient& gradient) {
  gradient.centerX = JSON::required<double>(json, "centerX");
  gradient.centerY = JSON::required<double>(json, "centerY");
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
  json = {{"id", preset.id}, {"kind", preset.kind}, {"stops", preset.stops}};
}

void from_json(const Json& json, GradientPreset& preset) {
  preset.id = JSON::required<std::string>(json, "id");
  preset.kind = JSON::required<GradientKind>(json, "kind");
  preset.stops = JSON::required<std::vector<GradientStop>>(json, "stops");
}

void to_json(Json& json, const WallpaperPreset& preset) {
  json = {{"id", preset.id},
          {"label", preset.label},
          {"fullAssetName", preset.fullAssetName},
          {"thumbAssetName", preset.thumbAssetName}};
}

void from_json(const Json& json, WallpaperPreset& preset) {
  preset.id = JSON::required<std::string>(json, "id");
  preset.label = JSON::required<std::string>(json, "label");
  preset.fullAssetName = JSON::required<std::string>(json, "fullAssetName");
  preset.thumbAssetName = JSON::required<std::string>(json, "thumbAssetName");
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
