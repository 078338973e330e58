#include "Editor/Timeline/TimelineSpan.h"

#include <algorithm>

#include "Core/JSONFields.h"

namespace quillant {

// The trusted number stands first in min and max: they return it when the other is NaN.
TimelineSpan TimelineSpan::normalized(double duration, double minimumDuration) const {
  if (!isValidDuration(duration)) return {};
  const double minimum = std::min(duration, std::max(0.01, minimumDuration));
  const double newStart = std::min(std::max(0.0, start), std::max(0.0, duration - minimum));
  return {newStart, std::min(duration, std::max(newStart + minimum, end))};
}

namespace {

constexpr auto fields = [](auto& span, const auto& field) {
  field("start", span.start);
  field("end", span.end);
};

}  // namespace

void to_json(Json& json, const TimelineSpan& span) {
  JSON::writeFields(json, span, fields);
}

void from_json(const Json& json, TimelineSpan& span) {
  JSON::readFields(json, span, fields);
}

}  // namespace quillant
