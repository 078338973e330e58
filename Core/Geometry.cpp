#include "Core/Geometry.h"

#include "Core/JSON.h"

namespace quillant {

void to_json(Json& json, const Rect& rect) {
  json = {{"x", rect.x}, {"y", rect.y}, {"width", rect.width}, {"height", rect.height}};
}

void from_json(const Json& json, Rect& rect) {
  rect.x = JSON::required<double>(json, "x");
  rect.y = JSON::required<double>(json, "y");
  rect.width = JSON::required<double>(json, "width");
  rect.height = JSON::required<double>(json, "height");
}

}  // namespace quillant
