#pragma once

#include "Core/Geometry.h"
#include "Core/JSONForward.h"
#include "Editor/Project/VideoCropSizing.h"

namespace quillant {

/// The part of the picture that is shown.
struct VideoCropSelection {
  Rect normalizedRect{
      .x = 0, .y = 0, .width = 1, .height = 1};  ///< Fractions of the picture, origin top left.
  VideoCropSizing sizing;

  /// Whether the whole picture is shown.
  bool isPassthrough() const;

  /// The rectangle inside the unit square, each side at least 0.0001; empty if a field is not finite.
  static Rect clampedNormalizedRect(const Rect& rect);
  /// The rectangle inside a picture of `size` pixels, each side at least 8 where the picture has them. A side
  /// of the picture that is no positive number counts as 1920 or 1080. Empty if a field is not finite.
  static Rect clampedPixelRect(const Rect& rect, const Size& size);

  friend bool operator==(const VideoCropSelection&, const VideoCropSelection&) = default;
};

void to_json(Json& json, const VideoCropSelection& selection);
void from_json(const Json& json, VideoCropSelection& selection);

}  // namespace quillant
