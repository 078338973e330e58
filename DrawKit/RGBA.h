#pragma once

namespace quillant {

/// A colour in sRGB: components from 0 to 1, not multiplied by alpha.
struct RGBA {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;
  friend bool operator==(const RGBA&, const RGBA&) = default;
};

}  // namespace quillant
