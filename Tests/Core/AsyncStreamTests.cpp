#include <gtest/gtest.h>
#include <string>
#include <thread>

#include "Core/AsyncStream.h"

namespace quillant {

namespace {

Task<std::vector<int>> collect(AsyncStream<int> stream) {
  std::vector<int> values;
  while (const auto value = co_await stream.next()) values.push_back(*value);
  co_return values;
}

TEST(AsyncStreamTest, DeliversWhatWasYieldedInOrderUntilItIsFinished) {
  auto [stream, source] = AsyncStream<int>::make();
  source.yield(1);
  std::thread producer([source = source] {
    for (int value = 2; value <= 1000; ++value) source.yield(value);
    source.finish();
    source.yield(1001);
  });
  const auto values = runBlocking(collect(std::move(stream)));
  producer.join();
  ASSERT_EQ(values.size(), 1000U);
  for (int index = 0; index < 1000; ++index) EXPECT_EQ(values[static_cast<std::size_t>(index)], index + 1);
}

TEST(AsyncStreamTest, TellsOnceThatItsConsumerHasGone) {
  int terminations = 0;
  auto [stream, source] = AsyncStream<int>::make([&] { ++terminations; });
  {
    auto moved = std::move(stream);
    EXPECT_EQ(terminations, 0);
  }
  EXPECT_EQ(terminations, 1);
  source.yield(1);  // goes nowhere
}

}  // namespace

}  // namespace quillant
