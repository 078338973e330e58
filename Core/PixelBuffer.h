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

/// How a picture lies in memory. A planar one has Y, U and V in three planes; where its chroma is at half
/// size, odd sides are rounded up.
enum class PixelFormat {
  bgra,  ///< One plane, four bytes a pixel in memory order B, G, R, A; full-range RGB, alpha ignored.
  premultipliedBGRA,  ///< The same, with colours multiplied by their alpha.
  i420,               ///< Planar, 8 bits, chroma at half size both ways.
  i422,               ///< Planar, 8 bits, chroma at half width.
  i444,               ///< Planar, 8 bits, chroma at full size.
  i420x10,            ///< The same three with 10 bits in the low end of 16-bit words of this machine's order.
  i422x10,
  i444x10,
};

/// What the numbers of a planar picture mean. What all pictures of ours are: BT.709, limited range, chroma at
/// the left pixel of its pair and, at half height, between the two rows.
struct ColorEncoding {
  enum class Matrix { bt601, bt709 };
  enum class Range { limited, full };
  /// Where a chroma sample of half width lies: at the left pixel of its pair, or between the two. With half
  /// height it is between the two rows but for `topLeft`, which is at the upper left pixel.
  enum class ChromaSite { left, center, topLeft };

  Matrix matrix = Matrix::bt709;
  Range range = Range::limited;
  ChromaSite chromaSite = ChromaSite::left;
  friend bool operator==(const ColorEncoding&, const ColorEncoding&) = default;
};

/// One picture in memory that is not written to any more once it has been handed on: what the screen and the
/// camera deliver, what is drawn, decoded, composed and encoded.
///
/// Whoever holds the reference may read it on any thread. Buffers come from a pool that lives on until the
/// last of them is released; the memory goes back to the pool then.
struct PixelBuffer {
  struct Plane {
    std::uint8_t* data = nullptr;
    int stride = 0;  ///< Bytes from one row to the next.
  };

  PixelFormat format = PixelFormat::bgra;
  ColorEncoding color;  ///< Of a planar picture.
  int width = 0;        ///< Pixels.
  int height = 0;       ///< Pixels.
  std::array<Plane, 3> planes{};

  /// Counts the buffers of one source from 1. 0 means the source does not tell what changes.
  std::uint64_t sequence = 0;
  /// Tells sources apart where buffers of several meet: no other source of this process has the same. 0 where
  /// they do not.
  std::uint64_t source = 0;
  /// What differs from the buffer whose sequence is one less; read only if `sequence` is above 1. Rectangles
  /// lie inside the picture and may overlap. Empty means that nothing differs.
  std::vector<PixelRect> changed;

  /// Keeps the memory of the planes alive; its deleter returns it to where it came from.
  std::shared_ptr<void> memory;
};

using PixelBufferRef = std::shared_ptr<const PixelBuffer>;

}  // namespace quillant
