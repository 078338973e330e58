#include "Core/Geometry.h"

#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& rect, const auto& field) {
  field("x", rect.x);
  field("y", rect.y);
  field("width", rect.width);
  field("height", rect.height);
};

}  // namespace

void to_json(Json& json, const Rect& rect) {
  JSON::writeFields(json, rect, fields);
}

void from_json(const Json& json, Rect& rect) {
  JSON::readFields(json, rect, fields);
}

}  // namespace quillant
