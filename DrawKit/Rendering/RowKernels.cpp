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
using RowKernels::RowWeights;
using RowKernels::taps;

// The arithmetic of one sample, for what fills no vector.

/// Makes (sample - 128) * 128 of what a filter adds up.
constexpr int filterOffset = -128 * RowKernels::columnOne;
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

void filterRow(const std::uint8_t* source, const std::uint8_t*, const ColumnGroup* groups, int count,
               FilteredGroup* results) {
  for (int g = 0; g < count; ++g)
    for (int i = 0; i < groupSize; ++i) {
      int value = filterOffset;
      for (int pair = 0; pair < taps / 2; ++pair)
        for (int lane = 2 * i; lane < 2 * i + 2; ++lane)
          value -= groups[g].opposites[pair][lane] *
                   source[groups[g].groupBase + groups[g].groupLanes[pair][lane]];
      results[g].values[i] = static_cast<std::int16_t>(value);
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

HWY_INLINE hn::Vec<PartBytes> loadLanes(const ColumnGroup& group, int pair, int) {
  return hn::Load(PartBytes(), group.groupLanes[pair]);
}

HWY_INLINE hn::Vec<PartBytes> lookUp(hn::Vec<PartBytes> samples, hn::Vec<PartBytes> lanes) {
  return hn::Vec<PartBytes>{_mm512_permutexvar_epi8(lanes.raw, samples.raw)};
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

HWY_INLINE hn::Vec<PartBytes> loadLanes(const ColumnGroup& group, int pair, int part) {
  return hn::Load(PartBytes(), group.partLanes[pair] + 2 * RowKernels::partSize * part);
}

HWY_INLINE hn::Vec<PartBytes> lookUp(hn::Vec<PartBytes> samples, hn::Vec<PartBytes> lanes) {
  return hn::TableLookupBytes(samples, lanes);
}

#endif

/// The sums of two neighbouring products each, of unsigned and signed bytes. They fit.
HWY_INLINE hn::Vec<PartWords> weighedPairs(hn::Vec<PartBytes> samples, const std::int8_t* weights) {
  const hn::RebindToSigned<PartBytes> signedBytes;
  const auto weighing = hn::Load(signedBytes, weights);
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
  return hn::Vec<PartWords>{_mm512_maddubs_epi16(samples.raw, weighing.raw)};
#elif HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
  return hn::Vec<PartWords>{_mm256_maddubs_epi16(samples.raw, weighing.raw)};
#elif HWY_ARCH_X86 && HWY_TARGET <= HWY_SSSE3
  return hn::Vec<PartWords>{_mm_maddubs_epi16(samples.raw, weighing.raw)};
#else
  const PartWords words;
  const hn::RebindToUnsigned<PartWords> lanes;
  const auto both = hn::BitCast(lanes, samples);
  const auto even = hn::BitCast(words, hn::And(both, hn::Set(lanes, std::uint16_t{0xFF})));
  const auto odd = hn::BitCast(words, hn::ShiftRight<8>(both));
  const auto bothWeights = hn::BitCast(words, weighing);
  const auto evenWeights = hn::ShiftRight<8>(hn::ShiftLeft<8>(bothWeights));
  return hn::Add(hn::Mul(even, evenWeights), hn::Mul(odd, hn::ShiftRight<8>(bothWeights)));
#endif
}

void filterRow(const std::uint8_t* source, const std::uint8_t* next, const ColumnGroup* groups, int count,
               FilteredGroup* results) {
  const PartWords words;
  const auto offset = hn::Set(words, std::int16_t{filterOffset});
  for (int g = 0; g < count; ++g) {
    const ColumnGroup& group = groups[g];
    hwy::Prefetch(next + group.groupBase);  // a group reads less than a line of the cache
    for (int part = 0; part < RowKernels::groupParts; part += partsAtOnce) {
      const int first = part * RowKernels::partSize;
      const auto samples = loadSamples(source, group, part);
      const auto weighed = [&](int pair) HWY_ATTR {
        return weighedPairs(lookUp(samples, loadLanes(group, pair, part)), group.opposites[pair] + 2 * first);
      };
      hn::Store(hn::Sub(hn::Sub(offset, weighed(0)), weighed(1)), words, results[g].values + first);
    }
  }
}

using Words = hn::ScalableTag<std::int16_t>;
using Bytes = hn::Rebind<std::uint8_t, Words>;

HWY_INLINE auto widened(Words words, const std::uint8_t* row) {
  return hn::PromoteTo(words, hn::LoadU(Bytes(), row));
}

/// Writes the values of both, one after the other, cut to bytes.
HWY_INLINE void storeBoth(hn::Vec<Words> low, hn::Vec<Words> high, std::uint8_t* result) {
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
  const __m512i order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
  _mm512_storeu_si512(result, _mm512_permutexvar_epi64(order, _mm512_packus_epi16(low.raw, high.raw)));
#else
  hn::StoreU(hn::DemoteTo(Bytes(), low), Bytes(), result);
  hn::StoreU(hn::DemoteTo(Bytes(), high), Bytes(), result + hn::Lanes(Words()));
#endif
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
  const auto sumAt = [&](int i) HWY_ATTR {
    const auto upper = hn::Add(hn::MulFixedPoint15(hn::LoadU(words, first + i), w0),
                               hn::MulFixedPoint15(hn::LoadU(words, second + i), w1));
    const auto lower = hn::Add(hn::MulFixedPoint15(hn::LoadU(words, third + i), w2),
                               hn::MulFixedPoint15(hn::LoadU(words, fourth + i), w3));
    return hn::ShiftRight<combineBits>(hn::Add(hn::Add(upper, lower), rounding));
  };
  const auto combine = [&](int i) HWY_ATTR {
    hn::StoreU(hn::DemoteTo(Bytes(), sumAt(i)), Bytes(), result + (i - begin));
  };
  const auto combineBoth = [&](int i)
                               HWY_ATTR { storeBoth(sumAt(i), sumAt(i + lanes), result + (i - begin)); };
  if (end - begin >= lanes) {
    // Whole vectors as they lie in memory, two of them on a line of the result; the ends are made with others
    // that overlap them.
    combine(begin);
    int i = begin + lanes - begin % lanes;
    const auto place = reinterpret_cast<std::uintptr_t>(result + (i - begin));
    if (i + lanes <= end && place % static_cast<std::size_t>(2 * lanes) != 0) {
      combine(i);
      i += lanes;
    }
    for (; i + 2 * lanes <= end; i += 2 * lanes) combineBoth(i);
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

HWY_EXPORT(filterRow);
HWY_EXPORT(combineRows);
HWY_EXPORT(blend);
HWY_EXPORT(blendValue);
HWY_EXPORT(blendPremultiplied);
HWY_EXPORT(halve);
HWY_EXPORT(average);
HWY_EXPORT(weightedSum);

void filterRow(const std::uint8_t* source, const std::uint8_t* next, const ColumnGroup* groups, int count,
               FilteredGroup* results) {
  HWY_DYNAMIC_DISPATCH(filterRow)(source, next, groups, count, results);
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
