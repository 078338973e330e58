#include <atomic>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "Core/OwningSequence.h"
#include "Core/QueueTask.h"
#include "Core/SerialQueue.h"
#include "Core/Signal.h"
#include "Core/Task.h"

namespace quillant {
namespace {

using namespace std::chrono_literals;

TEST(SerialQueue, RunsWorkInOrderAndBeforeItEnds) {
  std::vector<int> order;
  {
    SerialQueue queue("quillant.test");
    for (int i = 0; i < 1000; ++i) queue.async([&order, i] { order.push_back(i); });
  }
  ASSERT_EQ(order.size(), 1000U);
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(SerialQueue, SyncReturnsValuesAndErrorsAndNests) {
  SerialQueue queue("quillant.test");
  EXPECT_EQ(queue.sync([&] { return queue.isCurrent() ? queue.sync([] { return 7; }) : 0; }), 7);
  EXPECT_THROW(queue.sync([]() -> int { throw std::runtime_error("x"); }), std::runtime_error);
}

TEST(SerialQueue, MayBeDestroyedOnItsOwnThread) {
  std::promise<void> done;
  auto queue = std::make_shared<SerialQueue>("quillant.test");
  auto* raw = queue.get();
  raw->async([held = std::move(queue), &done]() mutable {
    held.reset();
    done.set_value();
  });
  EXPECT_EQ(done.get_future().wait_for(10s), std::future_status::ready);
}

TEST(QueueTimer, RepeatsUntilCancelledOnItsQueue) {
  SerialQueue queue("quillant.test");
  std::promise<void> third;
  int count = 0;
  std::unique_ptr<QueueTimer> timer;
  queue.sync([&] {
    timer = std::make_unique<QueueTimer>(queue, 0ms, 1ms, [&] {
      if (++count != 3) return;
      timer->cancel();
      third.set_value();
    });
  });
  ASSERT_EQ(third.get_future().wait_for(10s), std::future_status::ready);
  queue.sync([] {});
  EXPECT_EQ(queue.sync([&] { return count; }), 3);
}

TEST(Task, RunsOnTheStrandItIsSentToAndCarriesErrors) {
  const auto strand = makeStrand();
  int unguarded = 0;
  const auto increment = [&]() -> Task<int> { co_return ++unguarded; };
  std::vector<std::future<void>> callers;
  for (int caller = 0; caller < 5; ++caller)
    callers.push_back(std::async(std::launch::async, [&] {
      for (int i = 0; i < 100; ++i) runBlocking(runOn(strand, increment()));
    }));
  for (auto& caller : callers) caller.get();
  EXPECT_EQ(unguarded, 500);
  EXPECT_THROW(runBlocking([]() -> Task<int> {
                 throw std::runtime_error("x");
                 co_return 0;
               }()),
               std::runtime_error);
}

TEST(Task, EndsOnAQueueThatIsDestroyedAtOnce) {
  for (int round = 0; round < 300; ++round) {
    SerialQueue queue("quillant.test");
    const auto task = [&]() -> Task<bool> { co_return queue.isCurrent(); };
    EXPECT_TRUE(runBlocking(runOn(queue, task())));
  }
}

TEST(Continuation, TakesTheFirstValueWhicheverComesFirst) {
  for (const bool early : {true, false}) {
    const auto strand = makeStrand();
    const Continuation<int> continuation(strand);
    if (early) continuation.resume(1);
    auto result = std::async(std::launch::async, [&] { return runBlocking(continuation.wait(), strand); });
    continuation.resume(early ? 2 : 1);
    EXPECT_EQ(result.get(), 1);
  }
}

TEST(Task, SleepsSaturateInsteadOfOverflowing) {
  asio::io_context context;
  bool woke = false;
  asio::co_spawn(
      context,
      [&]() -> Task<> {
        co_await sleepSeconds(1e300);
        woke = true;
      },
      asio::detached);
  context.run_for(20ms);
  EXPECT_FALSE(woke);
  EXPECT_TRUE(runBlocking(sleepSeconds(-1)));
}

TEST(OwningSequence, KnowsItsThreadAndItsStrand) {
  const auto strand = makeStrand();
  const OwningSequence onThread, onStrand(strand);
  const auto both = [&]() -> Task<std::pair<bool, bool>> {
    co_return std::pair(onThread.isCurrent(), onStrand.isCurrent());
  };
  EXPECT_EQ(runBlocking(both(), strand), std::pair(false, true));
  EXPECT_EQ(runBlocking(both()), std::pair(false, false));
  EXPECT_TRUE(onThread.isCurrent());
  asio::io_context context;
  EXPECT_TRUE(OwningSequence(context.get_executor()).isCurrent()) << "no strand: the thread counts";
}

TEST(Signal, CallsWhoIsConnectedWhateverHandlersDo) {
  auto signal = std::make_unique<Signal<int>>();
  std::vector<int> seen;
  Connection late;
  auto first = signal->connect([&](int value) {
    seen.push_back(value);
    if (value == 1) late = signal->connect([&](int other) { seen.push_back(other * 10); });
    if (value == 3) late.disconnect();
    if (value == 4) signal.reset();
  });
  signal->emit(1);
  signal->emit(2);
  signal->emit(3);
  const auto last = signal->connect([&](int) { ADD_FAILURE() << "the signal is gone"; });
  signal->emit(4);
  EXPECT_EQ(seen, (std::vector{1, 2, 20, 3, 4}));
}

}  // namespace
}  // namespace quillant
