#include "Editor/Project/VideoCropSizing.h"

#include "Core/JSON.h"

namespace quillant {

void from_json(const Json& json, VideoCropCustomSize& size) {
  size.width = JSON::required<std::int64_t>(json, "width");
  size.height = JSON::required<std::int64_t>(json, "height");
}

void to_json(Json& json, const VideoCropSizing& sizing) {
  if (const auto* custom = std::get_if<VideoCropCustomSize>(&sizing))
    json["custom"] = {{"width", custom->width}, {"height", custom->height}};
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
