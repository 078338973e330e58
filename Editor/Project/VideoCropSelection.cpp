#include "Editor/Project/VideoCropSelection.h"

#include <algorithm>
#include <cmath>

#include "Core/JSONFields.h"

namespace quillant {

namespace {

bool isFinite(const Rect& rect) {
  return std::isfinite(rect.x) && std::isfinite(rect.y) && std::isfinite(rect.width) &&
         std::isfinite(rect.height);
}

/// The same rectangle with sides that are not negative.
Rect standardized(const Rect& rect) {
  return {.x = std::min(rect.x, rect.maxX()),
          .y = std::min(rect.y, rect.maxY()),
          .width = std::abs(rect.width),
          .height = std::abs(rect.height)};
}

/// `rect` with sides of at least `smallest` and at most `limit`, moved to lie between 0 and `limit`.
Rect fitted(const Rect& rect, const Size& smallest, const Size& limit) {
  const double width = std::clamp(rect.width, smallest.width, limit.width);
  const double height = std::clamp(rect.height, smallest.height, limit.height);
  return {.x = std::clamp(rect.x, 0.0, limit.width - width),
          .y = std::clamp(rect.y, 0.0, limit.height - height),
          .width = width,
          .height = height};
}

double positiveOr(double side, double fallback) {
  return std::isfinite(side) && side > 0 ? side : fallback;
}

}  // namespace

bool VideoCropSelection::isPassthrough() const {
  return normalizedRect == Rect{.x = 0, .y = 0, .width = 1, .height = 1};
}

Rect VideoCropSelection::clampedNormalizedRect(const Rect& rect) {
  if (!isFinite(rect)) return {};
  return fitted(standardized(rect), {.width = 0.0001, .height = 0.0001}, {.width = 1, .height = 1});
}

Rect VideoCropSelection::clampedPixelRect(const Rect& rect, const Size& size) {
  if (!isFinite(rect)) return {};
  const Size picture{.width = positiveOr(size.width, 1920), .height = positiveOr(size.height, 1080)};
  const Size smallest{.width = std::min(8.0, picture.width), .height = std::min(8.0, picture.height)};
  return fitted(standardized(rect), smallest, picture);
}

namespace {

constexpr auto fields = [](auto& selection, const auto& field) {
  field("normalizedRect", selection.normalizedRect);
  field("sizing", selection.sizing);
};

}  // namespace

void to_json(Json& json, const VideoCropSelection& selection) {
  JSON::writeFields(json, selection, fields);
}

void from_json(const Json& json, VideoCropSelection& selection) {
  JSON::readFields(json, selection, fields);
}

}  // namespace quillant
