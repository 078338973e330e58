#pragma once

#include <array>
#include <cstdint>

#include "Core/PixelBuffer.h"
#include "Core/SerializableColor.h"
#include "DrawKit/Rendering/AxisFilter.h"
#include "DrawKit/Rendering/PlaneGrid.h"

/// Numbers of BT.709 in the limited range from what else there is.
namespace quillant::ColorMath {

/// Y, U and V of full-range RGB that is premultiplied by alpha, premultiplied with their offsets.
std::array<std::uint8_t, 3> fromPremultiplied(int red, int green, int blue, int alpha);

struct FlatColor {
  std::array<std::uint8_t, 3> samples{16, 128, 128};  ///< Not premultiplied.
  double alpha = 1;
};
FlatColor flat(const SerializableColor& color);

/// How a full-range sample becomes a limited one: its part beyond 128, times `gain`, plus `middle`.
struct RangeChange {
  double gain = 1;
  double middle = 128;
  friend bool operator==(const RangeChange&, const RangeChange&) = default;
};
RangeChange toLimited(ColorEncoding::Range range, PlaneGroup group);

/// What makes samples of filtered rows, changing their range on the way.
RowTaps weighted(const AxisTaps& taps, const RangeChange& change = {});

/// From BT.601 in some range to BT.709, limited.
class MatrixChange {
 public:
  explicit MatrixChange(ColorEncoding::Range from);
  /// `u` and `v` are changed in place.
  void apply(const std::uint8_t* y, std::uint8_t* newY, std::uint8_t* u, std::uint8_t* v, int count) const;

 private:
  std::array<std::array<int, 3>, 3> weights_;  ///< 1 is 2^14, of samples less their offset.
  int offset_;
};

}  // namespace quillant::ColorMath
