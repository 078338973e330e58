#include "Editor/Timeline/TimelineTrimRegion.h"

#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& trim, const auto& field) {
  field("id", trim.id);
  field("span", trim.span);
};

}  // namespace

void to_json(Json& json, const TimelineTrimRegion& trim) {
  JSON::writeFields(json, trim, fields);
}

void from_json(const Json& json, TimelineTrimRegion& trim) {
  JSON::readFields(json, trim, fields);
}

}  // namespace quillant
