#include "Editor/Project/VideoInsetBalance.h"

#include <algorithm>

#include "Core/JSONFields.h"

namespace quillant {

VideoInsetBalance VideoInsetBalance::clamped() const {
  return {.left = std::clamp(left, 0.0, 1.0), .top = std::clamp(top, 0.0, 1.0)};
}

namespace {

constexpr auto fields = [](auto& balance, const auto& field) {
  field("left", balance.left);
  field("top", balance.top);
};

}  // namespace

void to_json(Json& json, const VideoInsetBalance& balance) {
  JSON::writeFields(json, balance, fields);
}

void from_json(const Json& json, VideoInsetBalance& balance) {
  JSON::readFields(json, balance, fields);
}

}  // namespace quillant
