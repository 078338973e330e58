#include "Editor/Composition/FacecamOverlayLayout.h"

#include <algorithm>
#include <cmath>

namespace quillant::FacecamOverlayLayout {

namespace {

enum class Place { near, middle, far };

struct Places {
  Place across;
  Place down;
};

Places places(FacecamAnchor anchor) {
  // Anchors stand in reading order, three a row.
  const int index = static_cast<int>(anchor);
  return {static_cast<Place>(index % 3), static_cast<Place>(index / 3)};
}

double center(Place place, double length, double side, double margin) {
  switch (place) {
    case Place::near:
      return margin + side / 2;
    case Place::middle:
      return length / 2;
    case Place::far:
      break;
  }
  return length - margin - side / 2;
}

}  // namespace

Rect frame(const Size& canvas, const FacecamSettings& asked) {
  const auto isPositive = [](double side) { return std::isfinite(side) && side > 0; };
  if (!asked.enabled || !isPositive(canvas.width) || !isPositive(canvas.height)) return {};
  const auto settings = asked.clamped();
  const double shortSide = std::min(canvas.width, canvas.height);
  const double side = std::max(1.0, shortSide * settings.size / 100);
  const double margin = shortSide * settings.margin / 100;
  const auto [across, down] =
      places(fromRawText<FacecamAnchor>(settings.anchor).value_or(FacecamAnchor::bottomRight));
  return {.x = center(across, canvas.width, side, margin) - side / 2,
          .y = center(down, canvas.height, side, margin) - side / 2,
          .width = side,
          .height = side};
}

double cornerRadius(const Rect& bubble, const FacecamSettings& asked) {
  const auto settings = asked.clamped();
  const double half = std::min(bubble.width, bubble.height) / 2;
  return settings.shape == "circle" ? half : std::min(settings.cornerRadius, half);
}

}  // namespace quillant::FacecamOverlayLayout
