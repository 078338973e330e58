#include <QCoreApplication>
#include <asio/bind_cancellation_slot.hpp>
#include <asio/cancellation_signal.hpp>
#include <gtest/gtest.h>
#include <thread>

#include "quillant/Views/QtLoop.h"

namespace quillant {
namespace {

struct Loop {
  int count = 1;
  char name[5] = "test";
  char* arguments[2] = {name, nullptr};
  QCoreApplication application{count, arguments};
  QtLoop loop{application};
  Executor executor = loop.executor();
};

TEST(QtLoop, ResumesWhateverIsAwaitedOnTheApplicationsThread) {
  Loop loop;
  const auto thread = std::this_thread::get_id();
  std::vector<bool> here;
  asio::cancellation_signal cancel;
  const auto elsewhere = []() -> Task<std::thread::id> { co_return std::this_thread::get_id(); };
  const auto work = [&]() -> Task<> {
    const auto note = [&] { here.push_back(std::this_thread::get_id() == thread); };
    note();
    co_await sleepFor(std::chrono::milliseconds(2));
    note();
    EXPECT_NE(co_await runOn(backgroundExecutor(), elsewhere()), thread);
    note();
    asio::post(loop.executor, [&] { cancel.emit(asio::cancellation_type::terminal); });
    const bool timePassed = co_await sleepFor(std::chrono::hours(1));
    EXPECT_FALSE(timePassed);
    note();
  };
  asio::co_spawn(loop.executor, work(),
                 asio::bind_cancellation_slot(cancel.slot(), [&](const std::exception_ptr& error) {
                   EXPECT_FALSE(error);
                   QCoreApplication::quit();
                 }));
  EXPECT_TRUE(here.empty());  // nothing runs before the loop does
  QCoreApplication::exec();
  EXPECT_EQ(here, std::vector<bool>(4, true));
}

TEST(QtLoop, LetsGoOfWhatStillWaitsWhenTheApplicationEnds) {
  const auto held = std::make_shared<int>();
  Executor executor;
  {
    Loop loop;
    asio::post(loop.executor, [held] { ADD_FAILURE(); });
    EXPECT_EQ(held.use_count(), 2);
    executor = loop.executor;
  }
  EXPECT_EQ(held.use_count(), 1);
  asio::post(executor, [held] { ADD_FAILURE(); });  // a timer that was late
  EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace quillant
