#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace quillant {

/// A rectangle of whole pixels, origin at the picture's top left.
struct PixelRect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

enum class PixelFormat {
  bgra,  ///< One plane, four bytes a pixel in memory order B, G, R, A; full-range RGB, alpha ignored.
  i420,  ///< Three planes Y, U, V; chroma at half size both ways; BT.709, limited range.
};

/// One picture in memory that is not written to any more once it has been handed on.
///
/// Whoever holds the reference may read it on any thread. Buffers come from a pool that lives on until the
/// last of them is released; the memory goes back to the pool then.
struct PixelBuffer {
  struct Plane {
    std::uint8_t* data = nullptr;
    int stride = 0;  ///< Bytes from one row to the next.
  };

  PixelFormat format = PixelFormat::bgra;
  int width = 0;   ///< Pixels; even for I420.
  int height = 0;  ///< Pixels; even for I420.
  std::array<Plane, 3> planes{};

  /// Counts the buffers of one source from 1. 0 means the source does not tell what changes.
  std::uint64_t sequence = 0;
  /// What differs from the buffer whose sequence is one less; read only if `sequence` is above 1. Rectangles
  /// lie inside the picture and may overlap. Empty means that nothing differs.
  std::vector<PixelRect> changed;

  /// Keeps the memory of the planes alive; its deleter returns it to where it came from.
  std::shared_ptr<void> memory;
};

using PixelBufferRef = std::shared_ptr<const PixelBuffer>;

}  // namespace quillant
