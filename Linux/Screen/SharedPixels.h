#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "Core/PixelBuffer.h"

namespace quillant {

/// One BGRA picture in memory that an X server can be given to write into. Black at first. It belongs to no
/// file, so nothing is left of it when the process is killed.
class SharedPixels {
 public:
  /// Throws `ScreenError` where there is no room for it.
  SharedPixels(int width, int height);
  ~SharedPixels();
  SharedPixels(const SharedPixels&) = delete;
  SharedPixels& operator=(const SharedPixels&) = delete;

  int width() const { return width_; }
  int height() const { return height_; }
  PixelBuffer::Plane plane() const { return {data_, stride()}; }
  int stride() const { return width_ * 4; }
  std::size_t size() const { return static_cast<std::size_t>(stride()) * static_cast<std::size_t>(height_); }
  std::uint8_t* at(int x, int y) const {
    return data_ + static_cast<std::ptrdiff_t>(y) * stride() + std::ptrdiff_t{x} * 4;
  }
  int descriptor() const { return descriptor_; }
  /// The server's name for this memory while a fetcher has it attached; 0 if it has not.
  std::uint32_t segment = 0;

 private:
  int width_;
  int height_;
  int descriptor_;
  std::uint8_t* data_;
};

/// Copies rectangles between two pictures of one size.
void copyPixels(const SharedPixels& from, SharedPixels& to, std::span<const PixelRect> rects);
/// Makes a rectangle black.
void blacken(SharedPixels& pixels, const PixelRect& rect);

}  // namespace quillant
