// The scalar target is among those that are tested.
#define HWY_COMPILE_ALL_ATTAINABLE
#define HWY_WANT_AVX3_DL

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <hwy/highway.h>
#include <random>
#include <string>
#include <vector>

#include "DrawKit/Rendering/AxisFilter.h"
#include "DrawKit/Rendering/RowKernels.h"

namespace quillant {
namespace {

using RowKernels::Coverage;
using RowKernels::FilteredGroup;

constexpr int longest = 150;
constexpr AxisPlacement placement{1.37, -1.8, 2 * longest - 1};

template <class Sample>
std::vector<Sample> randomRow(int least, int most, unsigned seed) {
  std::mt19937 generator(seed);
  std::vector<Sample> row(2 * longest);
  for (Sample& sample : row)
    sample = static_cast<Sample>(std::uniform_int_distribution(least, most)(generator));
  return row;
}

const auto upper = randomRow<std::uint8_t>(0, 255, 1), lower = randomRow<std::uint8_t>(0, 255, 2),
           target = randomRow<std::uint8_t>(0, 255, 3);
const auto shares = randomRow<std::int16_t>(0, Coverage::full, 4),
           values = randomRow<std::int16_t>(-16384, 16256, 5);

double share(std::size_t i) {
  return shares[i] / 32767.0;
}

/// What becomes of a row, and that nothing after it does.
template <class Draw>
std::vector<double> drawn(int count, const Draw& draw) {
  auto row = target;
  draw(row.data());
  EXPECT_TRUE(std::equal(row.begin() + count, row.end(), target.begin() + count)) << "beyond " << count;
  return {row.begin(), row.begin() + count};
}

std::vector<double> filtered(int count) {
  ColumnFilter columns;
  columns.set(placement, 0, count);
  const int groups = (count + RowKernels::groupSize - 1) / RowKernels::groupSize;
  std::vector<FilteredGroup> results(static_cast<std::size_t>(groups));
  RowKernels::filterRow(upper.data(), lower.data(), columns.groupAt(0), groups, results.data());
  return {results[0].values, results[0].values + count};
}

double plainlyFiltered(std::size_t i) {
  const AxisTaps taps = columnTaps(placement, static_cast<int>(i));
  double sum = 0;
  for (int tap = 0; tap < RowKernels::taps; ++tap) {
    const int place = std::clamp(taps.first + tap, 0, placement.count - 1);
    sum += (upper[static_cast<std::size_t>(place)] - 128) * taps.weights[static_cast<std::size_t>(tap)];
  }
  return sum;
}

/// Rows that begin one after the other among the values, from a column that is no group's first.
constexpr int rowsBegin = 5;
constexpr RowKernels::RowWeights weights{{-1200, 14000, 5000, -1416}, 128 * 64 + 32};

std::vector<double> combined(int count) {
  std::vector<FilteredGroup> groups[RowKernels::taps];
  const FilteredGroup* rows[RowKernels::taps];
  for (std::size_t tap = 0; tap < RowKernels::taps; ++tap) {
    groups[tap].resize(longest / RowKernels::groupSize + 2);
    std::copy_n(values.begin() + 9 * static_cast<int>(tap), longest + rowsBegin, groups[tap].data()->values);
    rows[tap] = groups[tap].data();
  }
  return drawn(count,
               [&](auto* row) { RowKernels::combineRows(rows, rowsBegin, rowsBegin + count, weights, row); });
}

double plainlyCombined(std::size_t i) {
  double sum = 128;
  for (std::size_t tap = 0; tap < RowKernels::taps; ++tap)
    sum += values[i + rowsBegin + 9 * tap] / 128.0 * weights.weights[tap] / 16384;
  return std::clamp(sum, 0.0, 255.0);
}

/// A kernel on so many samples, and what each of them is in plain numbers, to within its rounding.
struct Kernel {
  const char* name;
  double tolerance;
  std::function<std::vector<double>(int count)> run;
  std::function<double(std::size_t i, std::size_t count)> plain;
};

const Kernel kernels[] = {
    {"filterRow", 0, filtered, [](auto i, auto) { return plainlyFiltered(i); }},
    {"combineRows", 0.54, combined, [](auto i, auto) { return plainlyCombined(i); }},
    {"blend", 0.54,
     [](int count) {
       return drawn(count, [&](auto* row) { RowKernels::blend(&upper[0], {&shares[0]}, row, count); });
     },
     [](auto i, auto) { return upper[i] * share(i) + target[i] * (1 - share(i)); }},
    {"blend, evenly", 0.54,
     [](int count) {
       return drawn(count, [&](auto* row) { RowKernels::blend(&upper[0], {nullptr, 8192}, row, count); });
     },
     [](auto i, auto) { return upper[i] * 0.25 + target[i] * 0.75; }},
    {"blendValue", 0.54,
     [](int count) {
       return drawn(count, [&](auto* row) { RowKernels::blendValue(77, {&shares[0]}, row, count); });
     },
     [](auto i, auto) { return 77 * share(i) + target[i] * (1 - share(i)); }},
    {"blendPremultiplied", 0.54,
     [](int count) {
       return drawn(count, [&](auto* row) {
         RowKernels::blendPremultiplied(&upper[0], &lower[0], {&shares[0]}, row, count);
       });
     },
     [](auto i, auto) {
       return std::min(255.0, upper[i] * share(i) + target[i] * (1 - lower[i] / 255.0 * share(i)));
     }},
    {"average", 0.5,
     [](int count) {
       return drawn(count, [&](auto* row) { RowKernels::average(&upper[0], &lower[0], row, count); });
     },
     [](auto i, auto) { return (upper[i] + lower[i]) / 2.0; }},
    {"halve", 0.5,
     [](int count) {
       return drawn(count, [&](auto* row) { RowKernels::halve(&upper[0], &lower[0], row, 2 * count - 1); });
     },
     [](auto i, auto count) {
       const auto next = std::min(2 * i + 1, 2 * count - 2);
       return (upper[2 * i] + upper[next] + lower[2 * i] + lower[next]) / 4.0;
     }},
    {"weightedSum", 1.5,
     [](int count) {
       const std::int16_t* const terms[] = {&values[0], &values[3], &values[7]};
       const std::int16_t factors[] = {16384, -8192, 8192};
       std::vector<std::int16_t> sums(static_cast<std::size_t>(count));
       RowKernels::weightedSum(terms, factors, 3, sums.data(), count);
       return std::vector<double>(sums.begin(), sums.end());
     },
     [](auto i, auto) { return values[i] / 2.0 - values[i + 3] / 4.0 + values[i + 7] / 4.0; }},
};

TEST(RowKernels, ComeNearPlainNumbersOnAnyInstructions) {
  for (const auto instructions : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(instructions);
    hwy::GetChosenTarget().Update(instructions);
    for (const Kernel& kernel : kernels)
      for (int count = 1; count <= longest - 10; ++count) {
        const auto made = kernel.run(count);
        for (std::size_t i = 0; i < made.size(); ++i)
          ASSERT_NEAR(made[i], kernel.plain(i, made.size()), kernel.tolerance)
              << kernel.name << " on " << hwy::TargetName(instructions) << ": " << i << " of " << count;
      }
  }
  hwy::SetSupportedTargetsForTest(0);
  hwy::GetChosenTarget().DeInit();
}

}  // namespace
}  // namespace quillant
