#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "Core/PixelBuffer.h"
#include "DrawKit/BandPool.h"
#include "DrawKit/Image.h"

namespace quillant {

/// Draws images over one another into planar frames: 8 bits, 4:2:0, BT.709, limited range, chroma sited left.
///
/// What a frame's numbers are:
/// - A *plane* is drawn as if it were a picture of its own. Its coordinates come from the canvas's: the same
///   for luma, (x / 2 + 1/4, y / 2) for chroma, since a chroma sample stands for the place (2i + 1/2, 2j +
///   1). A source's planes have theirs in the same way: x / 2 + 1/4 where chroma of half width is sited left,
///   x / 2 where it is between the pixels; y / 2 where it has half height, y / 2 + 1/4 if it is sited top
///   left.
/// - Colours are blended as the numbers they are, without linearizing: result = p + (1 - a) · below, for
///   every plane, where p is the sample premultiplied by a, with its offset (16 and 128) in it. Sources are
///   brought to BT.709, limited range, by their tags; RGB is full range and is converted by BT.709's weights.
///   Under everything lies black (16, 128, 128).
/// - A picture with 10 bits is rounded to 8 first. Full range becomes limited range as it is resampled. A
///   picture of BT.601 is first brought to 4:4:4 (chroma by the cubic below, at the places of its luma) and
///   to BT.709 there; no other picture is converted before it is resampled.
/// - A picture is resampled plane by plane. Along each axis of the source first: while more than 1.5 samples
///   (of the crop's range of them) come on one of the canvas, each two neighbours, counted from the crop's
///   first sample, become their mean; an odd last one stays as it is. Then a Catmull-Rom cubic (B = 0, C =
///   1/2, four samples) at the place that the canvas sample's middle has in the source, with the nearest
///   sample of the range where one is missing. The range of a crop is every sample of the plane whose square
///   it meets. Alpha is resampled like the others. Nothing is cut to 0...255 before both axes are done; then
///   all is. Premultiplied pictures are resampled premultiplied, in YUV 4:4:4.
/// - With a transform that does not keep rectangles the same holds, with the halvings of the scale along each
///   of the source's axes, and the cubic on both axes at the place in the source.
/// - What an image covers of a sample is the share of the sample's square, as far as that lies on the canvas,
///   inside both the crop and the mask, as areas. It multiplies p and a, and so does the opacity.
/// - A blur is a Gaussian over p and a of the image (covered or, with extended edges, going on), drawn on an
///   unbounded canvas of the same grid, of blurX and blurY (half of them for chroma).
///
/// All this holds within the rounding of fixed-point numbers: at least 50 dB of luma and 45 dB of chroma, and
/// a flat colour within 1. Only blurs of less than a sample of the source's plane are worked out on its grid,
/// and come no nearer than 38 dB of luma and 35 dB of chroma. The bytes do not depend on the threads, the
/// instruction set or the frames before.
///
/// One thread at a time. Frames may be released on any thread and may outlive the renderer.
class Renderer {
 public:
  struct Options {
    int width = 0;   ///< Of the canvas: even, from 2 to longestSide.
    int height = 0;  ///< The same.
    /// What may be kept of pictures that come again (converted, blurred, scaled), in bytes. What is over is
    /// evicted, the least recently drawn first. Does not count frames and the working memory of bands.
    std::size_t keptBytes = std::size_t{96} << 20;
  };
  static constexpr int longestSide = 8192;

  /// `pool` outlives the renderer; others may use it too, one at a time. Throws `DrawingError` for a size
  /// that it does not draw.
  Renderer(const Options& options, BandPool& pool);
  ~Renderer();

  /// The next frame: `images` over one another, the first lowest. Its `sequence` counts from 1, its `changed`
  /// says where it may differ from the frame before; only there was anything drawn. Sources are held until
  /// the frame after. Throws `DrawingError` if memory runs out; the next call draws everything.
  PixelBufferRef render(std::span<const Image> images);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quillant
