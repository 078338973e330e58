#pragma once

#include "DrawKit/BandPool.h"
#include "DrawKit/Rendering/PreparedPicture.h"

/// The first steps of a preparation: samples of 8 bits, BT.709, in planes, from what the source is.
namespace quillant::SourceSamples {

/// A new plane in memory of `result`.
struct NewPlane {
  std::uint8_t* data = nullptr;
  std::ptrdiff_t stride = 0;
  std::uint8_t* row(int y) const { return data + stride * y; }
};
NewPlane addPlane(BlockStore& store, PreparedPicture& result, int width, int height);

/// Makes `begin, end` of rows for every part of `rows`, on the pool.
template <class Work>
void inParts(BandPool& pool, int rows, const Work& work) {
  constexpr int part = 64;
  pool.run((rows + part - 1) / part, [&](int, int index) {
    const int begin = index * part;
    work(begin, begin + part < rows ? begin + part : rows);
  });
}

/// Fills in colour, alpha and range of `result` with the samples of the preparation's ranges, not moved nor
/// scaled: views of the source's memory where it is 8-bit BT.709 already.
void load(const PixelBuffer& source, BlockStore& store, BandPool& pool, PreparedPicture& result);

}  // namespace quillant::SourceSamples
