#pragma once

#include <optional>

#include "Core/Geometry.h"
#include "DrawKit/Image.h"
#include "Editor/Composition/RecentlyUsed.h"
#include "Editor/Timeline/TimelineAnnotationRegion.h"

namespace quillant {

/// Annotations as boxes with a line of text, the last of which are kept. One thread at a time.
class AnnotationLayer {
 public:
  /// The box at its place on a canvas: its middle is at the region's fractions of the canvas, and it is
  /// pushed back where it would reach beyond. None if it cannot be drawn.
  std::optional<Image> image(const TimelineAnnotationRegion& region, const Size& canvas);

 private:
  struct Entry {
    TimelineAnnotationRegion region;
    Size canvas;
    Image image;
  };
  RecentlyUsed<Entry> drawn_{8};
};

}  // namespace quillant
