#include "QuillantCloud/Me.h"

#include "Core/JSON.h"

namespace quillant {

void from_json(const Json& json, Me::Usage& usage) {
  usage.videos = JSON::required<std::int64_t>(json, "videos");
  usage.bytes = JSON::required<std::int64_t>(json, "bytes");
}

void from_json(const Json& json, Me::Limits& limits) {
  limits.maxVideos = JSON::optional<std::int64_t>(json, "maxVideos");
  limits.maxDurationMs = JSON::optional<std::int64_t>(json, "maxDurationMs");
  limits.maxTotalBytes = JSON::optional<std::int64_t>(json, "maxTotalBytes");
}

void from_json(const Json& json, Me& me) {
  me.id = JSON::required<std::string>(json, "id");
  me.email = JSON::required<std::string>(json, "email");
  me.name = JSON::optional<std::string>(json, "name");
  me.plan = JSON::required<std::string>(json, "plan");
  me.usage = JSON::optional<Me::Usage>(json, "usage");
  me.limits = JSON::optional<Me::Limits>(json, "limits");
}

}  // namespace quillant
