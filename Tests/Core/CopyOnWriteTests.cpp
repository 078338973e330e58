#include <gtest/gtest.h>
#include <thread>

#include "Core/CopyOnWrite.h"

namespace quillant {
namespace {

TEST(CopyOnWrite, SharesUntilOneCopyIsWritten) {
  CopyOnWriteVector<int> original = {1, 2};
  auto copy = original;
  EXPECT_TRUE(copy.sharesStorage(original));

  copy.mutate().push_back(3);
  EXPECT_EQ(*original, (std::vector{1, 2}));
  EXPECT_EQ(*copy, (std::vector{1, 2, 3}));

  const auto* before = &copy[0];
  copy.mutate()[0] = 9;
  EXPECT_EQ(&copy[0], before) << "what nobody shares is not copied again";
  EXPECT_EQ(original, (CopyOnWriteVector<int>{1, 2}));
}

TEST(CopyOnWrite, EmptyIsOneValueHoweverItCameAbout) {
  CopyOnWriteVector<int> written;
  written.mutate();
  CopyOnWriteVector<int> source = {1};
  const auto target = std::move(source);
  EXPECT_EQ(written, CopyOnWriteVector<int>());
  EXPECT_EQ(source, written) << "moved from";
  EXPECT_EQ(target.size(), 1u);
}

TEST(CopyOnWrite, CopiesMayBeReadAndWrittenOnDifferentThreads) {
  CopyOnWriteVector<int> value(std::vector<int>(1000, 1));
  std::vector<std::thread> readers;
  for (int i = 0; i < 4; ++i)
    readers.emplace_back([copy = value] {
      int sum = 0;
      for (const int element : copy) sum += element;
      EXPECT_EQ(sum, 1000);
    });
  for (auto& element : value.mutate()) element = 2;
  for (auto& reader : readers) reader.join();
  EXPECT_EQ(value.back(), 2);
}

}  // namespace
}  // namespace quillant
