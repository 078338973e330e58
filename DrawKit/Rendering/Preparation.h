#pragma once

#include <array>
#include <optional>

#include "Core/PixelBuffer.h"
#include "DrawKit/Image.h"
#include "DrawKit/Rendering/PlaneGrid.h"

namespace quillant {

/// What has to be done to an image's source before its samples can be resampled to the canvas. Equal ones
/// give the same samples, wherever the image lies.
struct Preparation {
  /// Half-open, of samples.
  struct Range {
    int begin = 0;
    int end = 0;
    int count() const { return end - begin; }
    friend bool operator==(const Range&, const Range&) = default;
  };
  struct Axis {
    AxisMap map;  ///< Of the source's plane, as it comes.
    Range range;  ///< What the crop has of it.
    /// Halvings before the blur, and after it.
    int blurHalvings = 0;
    int halvings = 0;
    double sigma = 0;  ///< Of the blur, in samples as they are then.
    int reach = 0;     ///< Samples that a fading blur adds at either end.
    friend bool operator==(const Axis&, const Axis&) = default;
    /// The place among the samples when all that is done, and how many there are.
    AxisMap preparedMap() const;
    int preparedCount() const;
  };
  struct Group {
    Axis x;
    Axis y;
    friend bool operator==(const Group&, const Group&) = default;
  };

  std::variant<PixelBufferRef, SerializableColor> source;
  std::array<Group, 2> groups;  ///< By `PlaneGroup`.
  bool blurs = false;
  Image::BlurEdges edges = Image::BlurEdges::fading;
  /// What a fading blur fades out from, in the source's pixels.
  Rect crop;
  std::optional<Image::RoundedRect> mask;
  /// How the samples are laid out at the end: rows and columns exchanged, then each turned round.
  bool transposed = false;
  bool mirroredX = false;
  bool mirroredY = false;

  friend bool operator==(const Preparation&, const Preparation&) = default;

  /// For an image whose transform keeps rectangles, or is of these scales along the source's axes.
  static Preparation of(const Image& image);
};

}  // namespace quillant
