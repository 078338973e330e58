#pragma once

#include <functional>

#include "DrawKit/BandPool.h"
#include "DrawKit/Rendering/PreparedPicture.h"
#include "DrawKit/Rendering/SourceSamples.h"

namespace quillant {

/// A Gaussian along both axes of planes, in fixed point.
namespace PlaneBlur {

/// What is blurred: samples, or values made of them row by row.
struct Source {
  int width = 0;
  int height = 0;
  /// Writes row `y`: a sample times 128. Any thread.
  std::function<void(int y, std::int16_t* row)> values;
};

/// With a reach along an axis, it is 0 beyond the source there and the result is larger by the reach on
/// either side; without, the outermost values go on.
SourceSamples::NewPlane blur(const Source& source, const Preparation::Group& group, BlockStore& store,
                             BandPool& pool, PreparedPicture& result);

}  // namespace PlaneBlur
}  // namespace quillant
