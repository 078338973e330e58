#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "DrawKit/Rendering/BlockStore.h"
#include "DrawKit/Rendering/PlaneGrid.h"
#include "DrawKit/Rendering/Preparation.h"
#include "DrawKit/Rendering/RowKernels.h"

namespace quillant {

/// 8-bit samples. At least `RowKernels::groupReach` bytes of every row can be read.
struct SamplePlane {
  const std::uint8_t* data = nullptr;
  std::ptrdiff_t stride = 0;
  int width = 0;
  int height = 0;
  /// From the source's axis that runs along the canvas's x (y) to the samples.
  PlaneGrid grid;

  const std::uint8_t* row(int y) const { return data + stride * y; }
  explicit operator bool() const { return data != nullptr; }
};

/// A source, ready to be resampled along both axes with no more than 1.5 samples for one of the canvas.
struct PreparedPicture {
  Preparation preparation;
  std::array<SamplePlane, 3> color;
  /// By `PlaneGroup`; none where all is opaque. The colours are premultiplied by it.
  std::array<SamplePlane, 2> alpha;
  /// Opaque colours may still have the full range.
  ColorEncoding::Range range = ColorEncoding::Range::limited;

  /// What of it is memory of its own, not the source's.
  std::vector<BlockStore::Block> blocks;
  std::size_t bytes() const;
};

}  // namespace quillant
