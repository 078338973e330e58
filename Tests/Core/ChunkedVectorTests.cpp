#include <algorithm>
#include <gtest/gtest.h>
#include <random>

#include "Core/ChunkedVector.h"

namespace quillant {
namespace {

TEST(ChunkedVector, IsTheListThatAVectorWouldBeAfterAnyReplacements) {
  std::mt19937 random(5);
  const auto upTo = [&](std::size_t most) {
    return std::uniform_int_distribution<std::size_t>(0, most)(random);
  };
  std::vector<int> expected;
  ChunkedVector<int> list;
  std::vector<std::pair<std::vector<int>, ChunkedVector<int>>> copies;
  for (int step = 0; step < 2000; ++step) {
    const auto first = upTo(expected.size());
    const auto count = upTo(std::min<std::size_t>(expected.size() - first, step % 10 == 0 ? 400 : 3));
    const std::vector<int> elements(upTo(step % 7 == 0 ? 300 : 3), step);
    const auto at = expected.begin() + static_cast<std::ptrdiff_t>(first);
    expected.insert(expected.erase(at, at + static_cast<std::ptrdiff_t>(count)), elements.begin(),
                    elements.end());
    if (step % 100 == 0) copies.emplace_back(std::vector<int>(list.begin(), list.end()), list);
    list.replace(first, count, elements);

    ASSERT_EQ(list.size(), expected.size()) << step;
    ASSERT_TRUE(std::ranges::equal(list, expected)) << step;
    for (int i = 0; i < 10 && !expected.empty(); ++i) {
      const auto index = upTo(expected.size() - 1);
      ASSERT_EQ(list[index], expected[index]) << step;
    }
    EXPECT_EQ(list, ChunkedVector<int>(expected)) << "however it is divided";
    EXPECT_EQ(list.empty(), expected.empty());
  }
  for (const auto& [elements, copy] : copies) EXPECT_TRUE(std::ranges::equal(copy, elements));
}

TEST(ChunkedVector, SharesWithItsCopiesWhatDoesNotDiffer) {
  const ChunkedVector<int> original(std::vector<int>(1000, 1));
  auto copy = original;
  copy.replace(500, 1, {2, 2});
  EXPECT_NE(copy, original);
  EXPECT_EQ(&copy[0], &original[0]);
  EXPECT_EQ(&copy[1000], &original[999]);
  copy.replace(500, 2, {1});
  EXPECT_EQ(copy, original);
}

}  // namespace
}  // namespace quillant
