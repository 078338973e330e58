#include "Editor/Project/VideoCropSizing.h"

#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& size, const auto& field) {
  field("width", size.width);
  field("height", size.height);
};

}  // namespace

void to_json(Json& json, const VideoCropCustomSize& size) {
  JSON::writeFields(json, size, fields);
}

void from_json(const Json& json, VideoCropCustomSize& size) {
  JSON::readFields(json, size, fields);
}

void to_json(Json& json, const VideoCropSizing& sizing) {
  if (const auto* custom = std::get_if<VideoCropCustomSize>(&sizing))
    json["custom"] = *custom;
  else
    json["preset"] = rawText(std::get<VideoCropPresetSize>(sizing).resolution);
}

void from_json(const Json& json, VideoCropSizing& sizing) {
  if (const auto custom = JSON::optional<VideoCropCustomSize>(json, "custom"))
    sizing = *custom;
  else
    sizing = VideoCropPresetSize{JSON::required<VideoExportResolution>(json, "preset")};
}

}  // namespace quillant
