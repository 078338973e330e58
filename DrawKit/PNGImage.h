#pragma once

#include <filesystem>

#include "Core/PixelBuffer.h"

/// Pictures as PNG files. Any thread; blocks on the disk.
namespace quillant::PNGImage {

/// An opaque BGRA picture: what is transparent in the file is laid on black. Throws `DrawingError` of kind
/// unreadable, or size for a side beyond `Canvas::longestSide`.
PixelBufferRef read(const std::filesystem::path& path);

/// A BGRA picture, its alpha left out. Throws `DrawingError` of kind unwritable.
void write(const PixelBuffer& picture, const std::filesystem::path& path);

}  // namespace quillant::PNGImage
