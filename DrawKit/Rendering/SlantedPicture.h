#pragma once

#include "DrawKit/BandPool.h"
#include "DrawKit/Image.h"
#include "DrawKit/Rendering/PreparedPicture.h"

namespace quillant {

/// The slower path, for transforms that do not keep rectangles: the samples of an image on the canvas's own
/// grids, premultiplied by what the image covers of them.
namespace SlantedPicture {

/// `source` is what is prepared of the image, or null for a flat colour. `area`, on even pixels, is what is
/// drawn: the planes of `result` begin there.
void draw(const Image& image, const PreparedPicture* source, const PixelRect& area, BlockStore& store,
          BandPool& pool, PreparedPicture& result);

}  // namespace SlantedPicture
}  // namespace quillant
