#pragma once

#include <memory>

#include "Core/PixelBuffer.h"

/// Pictures in BGRA that own their memory. Any thread.
namespace quillant::BGRAPicture {

/// Black, and transparent to who reads its alpha.
std::shared_ptr<PixelBuffer> make(int width, int height);
/// A picture of any format at a size of its own, by its colours' tags. Throws `MediaError` of kind codec.
std::shared_ptr<PixelBuffer> of(const PixelBuffer& source, int width, int height);

}  // namespace quillant::BGRAPicture
