#include "Editor/Project/VideoInsetBalance.h"

#include <algorithm>

#include "Core/JSON.h"

namespace quillant {

VideoInsetBalance VideoInsetBalance::clamped() const {
  return {.left = std::clamp(left, 0.0, 1.0), .top = std::clamp(top, 0.0, 1.0)};
}

void to_json(Json& json, const VideoInsetBalance& balance) {
  json["left"] = balance.left;
  json["top"] = balance.top;
}

void from_json(const Json& json, VideoInsetBalance& balance) {
  balance.left = JSON::required<double>(json, "left");
  balance.top = JSON::required<double>(json, "top");
}

}  // namespace quillant
