#include "DrawKit/Rendering/RowKernels.h"

#include <algorithm>
#include <cstring>

// Highway compiles this file once for every instruction set and picks one at run time. The superseded ones
// are kept, so that a test can hold all of them against each other.
#define HWY_COMPILE_ALL_ATTAINABLE
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "DrawKit/Rendering/RowKernels.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace quillant::HWY_NAMESPACE {
namespace {

using RowKernels::ColumnGroup;
using RowKernels::Coverage;
using RowKernels::FilteredGroup;
using RowKernels::groupSize;
using RowKernels::rowsAtOnce;
using RowKernels::RowWeights;
using RowKernels::taps;

// The arithmetic of one sample, for what fills no vector.

constexpr int combineBits = 6;
constexpr int blendBits = 7;

int mulRounded(int left, int right) {
  return (left * right + (1 << 14)) >> 15;
}

std::uint8_t byte(int value) {
  return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

std::uint8_t blended(int source, int coverage, int target) {
  return byte(target + ((mulRounded((source - target) * 64, coverage) + 32) >> 6));
}

std::uint8_t blendedPremultiplied(int source, int alpha, int coverage, int target) {
  const int covered = mulRounded(alpha << blendBits, coverage);
  const int left = 32767 - (covered + (covered >> 8));
  const int sum = mulRounded(source << blendBits, coverage) + mulRounded(target << blendBits, left);
  return byte(std::min(32767, std::min(32767, sum) + (1 << (blendBits - 1))) >> blendBits);
}

int coverageAt(Coverage coverage, int i) {
  return coverage.each ? coverage.each[i] : coverage.all;
}

#if HWY_TARGET == HWY_SCALAR

void filterRows(const std::uint8_t* const sources[rowsAtOnce], const std::uint8_t* const[rowsAtOnce],
                const ColumnGroup* groups, int count, FilteredGroup* results) {
  for (int row = 0; row < rowsAtOnce; ++row)
    for (int g = 0; g < count; ++g)
      for (int i = 0; i < groupSize; ++i) {
        const auto* first = sources[row] + groups[g].groupBase + groups[g].groupLanes[2 * i + 1];
        int sum = 0;
        for (int tap = 0; tap < taps; ++tap)
          sum += mulRounded((first[tap] - 128) * 256, groups[g].weights[tap][i]);
        results[row * count + g].values[i] = static_cast<std::int16_t>(sum);
      }
}

#else

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3_DL

// A table look-up reaches all of a group's bytes.
constexpr int partsAtOnce = RowKernels::groupParts;
using PartBytes = hn::FixedTag<std::uint8_t, 64>;
using PartWords = hn::FixedTag<std::int16_t, 32>;

HWY_INLINE hn::Vec<PartBytes> loadSamples(const std::uint8_t* source, const ColumnGroup& group, int) {
  return hn::LoadU(PartBytes(), source + group.groupBase);
}

HWY_INLINE hn::Vec<PartBytes> loadLanes(const ColumnGroup& group, int) {
  return hn::Load(PartBytes(), group.groupLanes);
}

HWY_INLINE hn::Vec<PartBytes> lookUp(hn::Vec<PartBytes> samples, hn::Vec<PartBytes> lanes) {
  constexpr __mmask64 highBytes = 0xAAAAAAAAAAAAAAAA;
  return hn::Vec<PartBytes>{_mm512_maskz_permutexvar_epi8(highBytes, lanes.raw, samples.raw)};
}

#else

// A table look-up stays within 16 bytes, and so does a part of a group. As many as fit a vector go at once.
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
constexpr int partsAtOnce = 4;
#elif HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
constexpr int partsAtOnce = 2;
#else
constexpr int partsAtOnce = 1;
#endif
using PartBytes = hn::FixedTag<std::uint8_t, 16 * partsAtOnce>;
using PartWords = hn::FixedTag<std::int16_t, 8 * partsAtOnce>;

HWY_INLINE hn::Vec<PartBytes> loadSamples(const std::uint8_t* source, const ColumnGroup& group, int part) {
  const std::int32_t* const bases = group.partBases + part;
  const hn::FixedTag<std::uint8_t, 16> bytes;
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
  const hn::FixedTag<std::uint8_t, 32> pair;
  const auto low =
      hn::Combine(pair, hn::LoadU(bytes, source + bases[1]), hn::LoadU(bytes, source + bases[0]));
#if HWY_TARGET <= HWY_AVX3
  const auto high =
      hn::Combine(pair, hn::LoadU(bytes, source + bases[3]), hn::LoadU(bytes, source + bases[2]));
  return hn::Combine(PartBytes(), high, low);
#else
  return low;
#endif
#else
  return hn::LoadU(bytes, source + bases[0]);
#endif
}

HWY_INLINE hn::Vec<PartBytes> loadLanes(const ColumnGroup& group, int part) {
  return hn::Load(PartBytes(), group.partLanes + 2 * RowKernels::partSize * part);
}

HWY_INLINE hn::Vec<PartBytes> lookUp(hn::Vec<PartBytes> samples, hn::Vec<PartBytes> lanes) {
  return hn::TableLookupBytesOr0(samples, lanes);
}

#endif

void filterRows(const std::uint8_t* const sources[rowsAtOnce], const std::uint8_t* const next[rowsAtOnce],
                const ColumnGroup* groups, int count, FilteredGroup* results) {
  const PartBytes bytes;
  const PartWords words;
  const auto sign = hn::Set(bytes, std::uint8_t{0x80});
  const auto toNext = hn::Set(words, std::int16_t{1 << 8});
  const std::uint8_t *const source0 = sources[0], *const source1 = sources[1], *const source2 = sources[2],
                            *const source3 = sources[3];
  const std::uint8_t *const next0 = next[0], *const next1 = next[1], *const next2 = next[2],
                            *const next3 = next[3];
  for (int g = 0; g < count; ++g) {
    const ColumnGroup& group = groups[g];
    // A group reads less than a line of the cache.
    for (const std::uint8_t* row : {next0, next1, next2, next3}) hwy::Prefetch(row + group.groupBase);
    for (int part = 0; part < RowKernels::groupParts; part += partsAtOnce) {
      const int first = part * RowKernels::partSize;
      const auto load = [&](const std::uint8_t* row)
                            HWY_ATTR { return hn::Xor(loadSamples(row, group, part), sign); };
      const auto samples0 = load(source0), samples1 = load(source1), samples2 = load(source2),
                 samples3 = load(source3);
      auto sum0 = hn::Zero(words), sum1 = sum0, sum2 = sum0, sum3 = sum0;
      // The high byte of each lane names its sample, the low byte stays empty: the sample times 256.
      auto lanes = hn::BitCast(words, loadLanes(group, part));
      for (int tap = 0; tap < taps; ++tap) {
        const auto weights = hn::Load(words, group.weights[tap] + first);
        const auto add = [&](hn::Vec<PartBytes> samples, hn::Vec<PartWords>& sum) HWY_ATTR {
          const auto taken = lookUp(samples, hn::BitCast(bytes, lanes));
          sum = hn::Add(sum, hn::MulFixedPoint15(hn::BitCast(words, taken), weights));
        };
        add(samples0, sum0), add(samples1, sum1), add(samples2, sum2), add(samples3, sum3);
        lanes = hn::Add(lanes, toNext);
      }
      hn::Store(sum0, words, results[g].values + first);
      hn::Store(sum1, words, results[count + g].values + first);
      hn::Store(sum2, words, results[2 * count + g].values + first);
      hn::Store(sum3, words, results[3 * count + g].values + first);
    }
  }
}

using Words = hn::ScalableTag<std::int16_t>;
using Bytes = hn::Rebind<std::uint8_t, Words>;

HWY_INLINE auto widened(Words words, const std::uint8_t* row) {
  return hn::PromoteTo(words, hn::LoadU(Bytes(), row));
}

HWY_INLINE auto coverageOf(Words words, Coverage coverage, int i) {
  return coverage.each ? hn::LoadU(words, coverage.each + i) : hn::Set(words, coverage.all);
}

#endif

void combineRows(const FilteredGroup* const rows[taps], int begin, int end, const RowWeights& weights,
                 std::uint8_t* result) {
  const auto valuesOf = [&](int tap) { return reinterpret_cast<const std::int16_t*>(rows[tap]); };
  const std::int16_t *const first = valuesOf(0), *const second = valuesOf(1), *const third = valuesOf(2),
                            *const fourth = valuesOf(3);
  const auto [w, bias] = weights;
#if HWY_TARGET != HWY_SCALAR
  const Words words;
  const int lanes = static_cast<int>(hn::Lanes(words));
  const auto w0 = hn::Set(words, w[0]), w1 = hn::Set(words, w[1]), w2 = hn::Set(words, w[2]),
             w3 = hn::Set(words, w[3]), rounding = hn::Set(words, bias);
  const auto combine = [&](int i) HWY_ATTR {
    const auto upper = hn::Add(hn::MulFixedPoint15(hn::LoadU(words, first + i), w0),
                               hn::MulFixedPoint15(hn::LoadU(words, second + i), w1));
    const auto lower = hn::Add(hn::MulFixedPoint15(hn::LoadU(words, third + i), w2),
                               hn::MulFixedPoint15(hn::LoadU(words, fourth + i), w3));
    const auto sum = hn::ShiftRight<combineBits>(hn::Add(hn::Add(upper, lower), rounding));
    hn::StoreU(hn::DemoteTo(Bytes(), sum), Bytes(), result + (i - begin));
  };
  if (end - begin >= lanes) {
    // Whole vectors as they lie in memory; the ends are made with others that overlap them.
    combine(begin);
    int i = begin + lanes - begin % lanes;
    for (; i + 2 * lanes <= end; i += 2 * lanes) {
      combine(i);
      combine(i + lanes);
    }
    if (i + lanes <= end) combine(i);
    combine(end - lanes);
    return;
  }
#endif
  for (int i = begin; i < end; ++i) {
    const int sum = bias + mulRounded(first[i], w[0]) + mulRounded(second[i], w[1]) +
                    mulRounded(third[i], w[2]) + mulRounded(fourth[i], w[3]);
    result[i - begin] = byte(sum >> combineBits);
  }
}

#if HWY_TARGET != HWY_SCALAR
template <class V>
HWY_INLINE void blendVector(Words words, V source, Coverage coverage, std::uint8_t* target, int i) {
  const auto below = widened(words, target + i);
  const auto difference = hn::ShiftLeft<6>(hn::Sub(source, below));
  const auto part = hn::MulFixedPoint15(difference, coverageOf(words, coverage, i));
  const auto rounded = hn::ShiftRight<6>(hn::Add(part, hn::Set(words, std::int16_t{32})));
  hn::StoreU(hn::DemoteTo(Bytes(), hn::Add(below, rounded)), Bytes(), target + i);
}
#endif

void blend(const std::uint8_t* source, Coverage coverage, std::uint8_t* target, int count) {
  int i = 0;
#if HWY_TARGET != HWY_SCALAR
  const Words words;
  const int lanes = static_cast<int>(hn::Lanes(words));
  for (; i + lanes <= count; i += lanes) blendVector(words, widened(words, source + i), coverage, target, i);
#endif
  for (; i < count; ++i) target[i] = blended(source[i], coverageAt(coverage, i), target[i]);
}

void blendValue(std::uint8_t source, Coverage coverage, std::uint8_t* target, int count) {
  int i = 0;
#if HWY_TARGET != HWY_SCALAR
  const Words words;
  const int lanes = static_cast<int>(hn::Lanes(words));
  const auto value = hn::Set(words, std::int16_t{source});
  for (; i + lanes <= count; i += lanes) blendVector(words, value, coverage, target, i);
#endif
  for (; i < count; ++i) target[i] = blended(source, coverageAt(coverage, i), target[i]);
}

void blendPremultiplied(const std::uint8_t* source, const std::uint8_t* alpha, Coverage coverage,
                        std::uint8_t* target, int count) {
  int i = 0;
#if HWY_TARGET != HWY_SCALAR
  const Words words;
  const int lanes = static_cast<int>(hn::Lanes(words));
  const auto scaled = [&](const std::uint8_t* row) {
    return hn::ShiftLeft<blendBits>(widened(words, row + i));
  };
  for (; i + lanes <= count; i += lanes) {
    const auto share = coverageOf(words, coverage, i);
    const auto covered = hn::MulFixedPoint15(scaled(alpha), share);
    const auto left =
        hn::Sub(hn::Set(words, std::int16_t{32767}), hn::Add(covered, hn::ShiftRight<8>(covered)));
    const auto sum = hn::SaturatedAdd(hn::MulFixedPoint15(scaled(source), share),
                                      hn::MulFixedPoint15(scaled(target), left));
    const auto rounded = hn::SaturatedAdd(sum, hn::Set(words, std::int16_t{1 << (blendBits - 1)}));
    hn::StoreU(hn::DemoteTo(Bytes(), hn::ShiftRight<blendBits>(rounded)), Bytes(), target + i);
  }
#endif
  for (; i < count; ++i)
    target[i] = blendedPremultiplied(source[i], alpha[i], coverageAt(coverage, i), target[i]);
}

void halve(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* result, int count) {
  int i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::RebindToUnsigned<Words> words;
  const hn::Repartition<std::uint8_t, decltype(words)> pairs;
  const int lanes = static_cast<int>(hn::Lanes(words));
  const auto pairSum = [&](const std::uint8_t* row) {
    const auto both = hn::BitCast(words, hn::LoadU(pairs, row + 2 * i));
    return hn::Add(hn::And(both, hn::Set(words, std::uint16_t{0xFF})), hn::ShiftRight<8>(both));
  };
  for (; 2 * (i + lanes) <= count; i += lanes) {
    const auto sum = hn::Add(hn::Add(pairSum(upper), pairSum(lower)), hn::Set(words, std::uint16_t{2}));
    hn::StoreU(hn::DemoteTo(Bytes(), hn::BitCast(Words(), hn::ShiftRight<2>(sum))), Bytes(), result + i);
  }
#endif
  for (; 2 * i < count; ++i) {
    const int next = std::min(2 * i + 1, count - 1);
    result[i] = byte((upper[2 * i] + upper[next] + lower[2 * i] + lower[next] + 2) >> 2);
  }
}

void average(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* result, int count) {
  int i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<std::uint8_t> bytes;
  const int lanes = static_cast<int>(hn::Lanes(bytes));
  for (; i + lanes <= count; i += lanes)
    hn::StoreU(hn::AverageRound(hn::LoadU(bytes, upper + i), hn::LoadU(bytes, lower + i)), bytes, result + i);
#endif
  for (; i < count; ++i) result[i] = byte((upper[i] + lower[i] + 1) >> 1);
}

void weightedSum(const std::int16_t* const* terms, const std::int16_t* weights, int termCount,
                 std::int16_t* result, int count) {
  int i = 0;
#if HWY_TARGET != HWY_SCALAR
  const Words words;
  const int lanes = static_cast<int>(hn::Lanes(words));
  for (; i + lanes <= count; i += lanes) {
    auto sum = hn::Zero(words);
    for (int term = 0; term < termCount; ++term)
      sum =
          hn::Add(sum, hn::MulFixedPoint15(hn::LoadU(words, terms[term] + i), hn::Set(words, weights[term])));
    hn::StoreU(sum, words, result + i);
  }
#endif
  for (; i < count; ++i) {
    int sum = 0;
    for (int term = 0; term < termCount; ++term) sum += mulRounded(terms[term][i], weights[term]);
    result[i] = static_cast<std::int16_t>(sum);
  }
}

}  // namespace
}  // namespace quillant::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace quillant::RowKernels {

HWY_EXPORT(filterRows);
HWY_EXPORT(combineRows);
HWY_EXPORT(blend);
HWY_EXPORT(blendValue);
HWY_EXPORT(blendPremultiplied);
HWY_EXPORT(halve);
HWY_EXPORT(average);
HWY_EXPORT(weightedSum);

void filterRows(const std::uint8_t* const sources[rowsAtOnce], const std::uint8_t* const next[rowsAtOnce],
                const ColumnGroup* groups, int count, FilteredGroup* results) {
  HWY_DYNAMIC_DISPATCH(filterRows)(sources, next, groups, count, results);
}
void combineRows(const FilteredGroup* const rows[taps], int begin, int end, const RowWeights& weights,
                 std::uint8_t* result) {
  HWY_DYNAMIC_DISPATCH(combineRows)(rows, begin, end, weights, result);
}
void blend(const std::uint8_t* source, Coverage coverage, std::uint8_t* target, int count) {
  HWY_DYNAMIC_DISPATCH(blend)(source, coverage, target, count);
}
void blendValue(std::uint8_t source, Coverage coverage, std::uint8_t* target, int count) {
  HWY_DYNAMIC_DISPATCH(blendValue)(source, coverage, target, count);
}
void blendPremultiplied(const std::uint8_t* source, const std::uint8_t* alpha, Coverage coverage,
                        std::uint8_t* target, int count) {
  HWY_DYNAMIC_DISPATCH(blendPremultiplied)(source, alpha, coverage, target, count);
}
void halve(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* result, int count) {
  HWY_DYNAMIC_DISPATCH(halve)(upper, lower, result, count);
}
void average(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* result, int count) {
  HWY_DYNAMIC_DISPATCH(average)(upper, lower, result, count);
}
void weightedSum(const std::int16_t* const* terms, const std::int16_t* weights, int termCount,
                 std::int16_t* result, int count) {
  HWY_DYNAMIC_DISPATCH(weightedSum)(terms, weights, termCount, result, count);
}

}  // namespace quillant::RowKernels
#endif  // HWY_ONCE
