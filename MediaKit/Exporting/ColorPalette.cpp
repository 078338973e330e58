#include "MediaKit/Exporting/ColorPalette.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace quillant {

namespace {

constexpr int cellBits = 6;
constexpr std::size_t cellCount = std::size_t{1} << (3 * cellBits);

int channel(std::uint32_t color, int index) {
  return static_cast<int>(color >> (16 - 8 * index)) & 0xFF;
}

std::size_t cellOf(std::uint32_t color) {
  std::size_t cell = 0;
  for (int i = 0; i < 3; ++i)
    cell = cell << cellBits | static_cast<std::size_t>(channel(color, i) >> (8 - cellBits));
  return cell;
}

int squaredDistance(std::uint32_t left, std::uint32_t right) {
  int sum = 0;
  for (int i = 0; i < 3; ++i) {
    const int difference = channel(left, i) - channel(right, i);
    sum += difference * difference;
  }
  return sum;
}

/// The pixels of one cell: colours as alike as a palette can tell.
struct Cell {
  std::array<std::uint64_t, 3> sum{};
  std::uint64_t count = 0;

  double mean(int index) const {
    return static_cast<double>(sum[static_cast<std::size_t>(index)]) / static_cast<double>(count);
  }
};

/// Cells that become one colour, or are divided.
struct Box {
  std::size_t first = 0;
  std::size_t count = 0;
  int widest = 0;     ///< The channel along which it is divided.
  double spread = 0;  ///< The sum of squared distances from the mean along that channel.
  std::uint32_t color = 0;
};

Box boxOf(std::span<const Cell> cells, std::size_t first, std::size_t count) {
  Box box{.first = first, .count = count};
  std::array<double, 3> sum{};
  std::array<double, 3> squares{};
  double pixels = 0;
  for (const auto& cell : cells.subspan(first, count)) {
    const auto weight = static_cast<double>(cell.count);
    pixels += weight;
    for (int i = 0; i < 3; ++i) {
      const auto at = static_cast<std::size_t>(i);
      sum[at] += cell.mean(i) * weight;
      squares[at] += cell.mean(i) * cell.mean(i) * weight;
    }
  }
  for (int i = 0; i < 3; ++i) {
    const auto at = static_cast<std::size_t>(i);
    const double spread = squares[at] - sum[at] * sum[at] / pixels;
    if (spread > box.spread) {
      box.spread = spread;
      box.widest = i;
    }
    box.color = box.color << 8 | static_cast<std::uint32_t>(sum[at] / pixels + 0.5);
  }
  if (count == 1) box.spread = 0;
  box.color |= 0xFF000000U;
  return box;
}

/// Divides the cells of a box where half of its pixels lie on either side.
std::size_t median(std::span<Cell> cells, const Box& box) {
  const auto own = cells.subspan(box.first, box.count);
  std::ranges::sort(own, {}, [&](const Cell& cell) { return cell.mean(box.widest); });
  const auto all = std::accumulate(own.begin(), own.end(), std::uint64_t{0},
                                   [](std::uint64_t sum, const Cell& cell) { return sum + cell.count; });
  std::uint64_t before = 0;
  std::size_t split = 0;
  while (split + 1 < own.size() && (split == 0 || before + own[split].count / 2 < all / 2))
    before += own[split++].count;
  return std::max<std::size_t>(split, 1);
}

}  // namespace

ColorPalette::ColorPalette(std::span<const std::uint32_t> pixels, std::size_t step) : known_(cellCount, -1) {
  std::vector<Cell> grid(cellCount);
  for (std::size_t i = 0; i < pixels.size(); i += step) {
    auto& cell = grid[cellOf(pixels[i])];
    ++cell.count;
    for (int c = 0; c < 3; ++c)
      cell.sum[static_cast<std::size_t>(c)] += static_cast<std::uint64_t>(channel(pixels[i], c));
  }
  std::vector<Cell> cells;
  std::ranges::copy_if(grid, std::back_inserter(cells), [](const Cell& cell) { return cell.count > 0; });
  if (cells.empty()) cells.push_back({.sum = {}, .count = 1});

  std::vector<Box> boxes{boxOf(cells, 0, cells.size())};
  while (boxes.size() < capacity) {
    const auto widest = std::ranges::max_element(boxes, {}, &Box::spread);
    if (widest->spread <= 0) break;
    const Box box = *widest;
    const auto split = median(cells, box);
    *widest = boxOf(cells, box.first, split);
    boxes.push_back(boxOf(cells, box.first + split, box.count - split));
  }
  for (const auto& box : boxes) colors_.push_back(box.color);
}

std::uint8_t ColorPalette::nearest(std::uint32_t pixel) {
  auto& known = known_[cellOf(pixel)];
  if (known < 0) {
    int smallest = std::numeric_limits<int>::max();
    for (std::size_t i = 0; i < colors_.size(); ++i) {
      const int distance = squaredDistance(pixel, colors_[i]);
      if (distance >= smallest) continue;
      smallest = distance;
      known = static_cast<std::int16_t>(i);
    }
  }
  return static_cast<std::uint8_t>(known);
}

double ColorPalette::error(std::span<const std::uint32_t> pixels, std::size_t step) {
  double sum = 0;
  std::size_t count = 0;
  for (std::size_t i = 0; i < pixels.size(); i += step, ++count)
    sum += squaredDistance(pixels[i], colors_[nearest(pixels[i])]);
  return count == 0 ? 0 : sum / (3 * static_cast<double>(count));
}

}  // namespace quillant
