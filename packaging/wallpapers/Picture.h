#pragma once

#include <string>
#include <vector>

#include "packaging/wallpapers/Color.h"
#include "packaging/wallpapers/Noise.h"

namespace quillant {

inline constexpr int pictureWidth = 2560;
inline constexpr int pictureHeight = 1440;
/// The picture's right edge and the side of a pixel, in heights of the picture.
inline constexpr float aspect = static_cast<float>(pictureWidth) / pictureHeight;
inline constexpr float pixel = 1.0f / pictureHeight;

/// The light at a place of a picture. Painters soften their edges over a pixel themselves.
using Painter = Color (*)(Place place);

/// Light, a row after the other, the top first.
struct Picture {
  int width = 0;
  int height = 0;
  std::vector<Color> pixels;

  static Picture painted(Painter painter);
  /// Each pixel the mean of `factor` times `factor`.
  Picture reduced(int factor) const;
  /// An sRGB file of 8 bits a component. Rounding is dithered: a slow blend shows no bands.
  /// Throws `std::system_error`, or `std::runtime_error` of libpng's.
  void writePNG(const std::string& path) const;
};

}  // namespace quillant
