#pragma once

#include <cstdint>

/// The inner loops of drawing, on rows of samples. All arithmetic is in fixed point and the same for every
/// instruction set, and a sample does not depend on where a loop begins. Any thread.
namespace quillant::RowKernels {

/// Outputs of `filterRows` are made in groups of this many. A group reads `groupReach` bytes of its source
/// row, or each of its parts `partReach`, as far as the machine's table look-ups go.
constexpr int groupSize = 32;
constexpr int groupParts = 4;
constexpr int partSize = groupSize / groupParts;
constexpr int groupReach = 64;
constexpr int partReach = 16;
constexpr int taps = 4;

/// The weight of one source sample along x is `columnOne`: seven bits are what is multiplied fastest.
constexpr int columnOne = 128;

/// One of these a group: where the bytes of the group and of its parts begin, and for each output's taps, the
/// first two and the last two side by side, where in these bytes they are and how much they count. That is
/// turned to its opposite, so that one whole sample fits a byte, and no two side by side count more than
/// that.
struct ColumnGroup {
  alignas(64) std::int8_t opposites[taps / 2][2 * groupSize];
  alignas(64) std::uint8_t groupLanes[taps / 2][2 * groupSize];
  alignas(64) std::uint8_t partLanes[taps / 2][2 * groupSize];
  std::int32_t groupBase;
  std::int32_t partBases[groupParts];
};

/// A group's outputs of one row, aligned to what is loaded at once: (sample - 128) * 128.
struct alignas(64) FilteredGroup {
  std::int16_t values[groupSize];
};

/// Weighs the samples of a row, and meanwhile has `next`, the row that is filtered after it, fetched into the
/// cache. They come from far: what a decoder wrote is rarely near. Writes `count` groups.
void filterRow(const std::uint8_t* source, const std::uint8_t* next, const ColumnGroup* groups, int count,
               FilteredGroup* results);

/// The weight of one filtered row.
constexpr int rowOne = 1 << 14;

/// What makes samples of filtered rows.
struct RowWeights {
  std::int16_t weights[taps];
  std::int16_t bias = 0;  ///< In 64ths, with the 128 of filtered samples and the rounding in it.
};

/// Of the filtered rows' columns from `begin` to `end`, counted from the first of their groups.
void combineRows(const FilteredGroup* const rows[taps], int begin, int end, const RowWeights& weights,
                 std::uint8_t* result);

/// How much of what is drawn counts, 0 to 32767 being all: of each sample, or of all where `each` is null.
struct Coverage {
  static constexpr std::int16_t full = 32767;
  const std::int16_t* each = nullptr;
  std::int16_t all = full;
};

/// target = source * coverage + target * (1 - coverage)
void blend(const std::uint8_t* source, Coverage coverage, std::uint8_t* target, int count);
/// The same with one value for a whole row.
void blendValue(std::uint8_t source, Coverage coverage, std::uint8_t* target, int count);
/// target = source * coverage + target * (1 - alpha * coverage), where `source` is premultiplied.
void blendPremultiplied(const std::uint8_t* source, const std::uint8_t* alpha, Coverage coverage,
                        std::uint8_t* target, int count);

/// The means of neighbours: of a row's pairs, and of the same in two rows (`lower` may be `upper`). An odd
/// last sample stands for its pair. Writes (count + 1) / 2 samples.
void halve(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* result, int count);
/// The means of two rows.
void average(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* result, int count);

/// The sum of `count` values from each of `terms`, times its weight (1 being 2^15), rounded term by term.
void weightedSum(const std::int16_t* const* terms, const std::int16_t* weights, int termCount,
                 std::int16_t* result, int count);

}  // namespace quillant::RowKernels
