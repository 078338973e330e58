#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
#include <thread>

#include "MediaKit/MediaError.h"
#include "MediaKit/Reading/AssetProbe.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/Media/DecodedMedia.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr const char* pathVariable = "QUILLANT_TEST_RECORDING";

/// Run by the test below in a process of its own.
TEST(KilledRecording, DISABLED_RecordsUntilItIsKilled) {
  const char* path = std::getenv(pathVariable);
  ASSERT_NE(path, nullptr);
  TestRecording recording{.width = 320, .height = 180, .frames = 60 * 30, .audioChannels = {1}};
  recording.fragmentInterval = {900, 600};
  recording.onAppended = [](int index) { std::cout << "appended " << index << std::endl; };
  recording.writeUnfinished(path);
}

class KilledProcess {
 public:
  KilledProcess(std::filesystem::path path, Seconds after)
      : path_(std::move(path)),
        after_(after),
        process_({"/proc/self/exe", "--gtest_also_run_disabled_tests",
                  "--gtest_filter=KilledRecording.DISABLED_RecordsUntilItIsKilled"},
                 {{pathVariable, path_.string()}}) {}

  void waitForItsStart() {
    ASSERT_TRUE(process_.readLineWith("appended 0"));
    begin_ = Clock::now();
  }

  void killAndCheck() {
    std::this_thread::sleep_until(begin_ + std::chrono::duration_cast<Clock::duration>(after_));
    process_.signal(SIGKILL);
    const Seconds lived = Clock::now() - begin_;
    EXPECT_EQ(process_.wait(), -SIGKILL);
    const auto told = process_.readAll();
    const auto last = told.rfind("appended ");
    // A machine that is too busy to give the process its time is no fault of the writer's.
    const double appended = last == std::string::npos ? 0 : std::stoi(told.substr(last + 9)) / 30.0;
    SCOPED_TRACE(fmt::format("killed after {:.3f} s, appended up to {:.3f} s", lived.count(), appended));
    MediaTime duration;
    try {
      duration = AssetProbe::probe(path_).duration;
    } catch (const MediaError& error) {
      EXPECT_EQ(error.kind(), MediaError::Kind::unreadable);
      EXPECT_LT(appended, 1.5) << "the first fragment closes long before that";
      return;
    }
    const auto media = DecodedMedia::decode(path_);
    EXPECT_THAT(media.errors, testing::IsEmpty());
    for (const auto& frame : media.frames) EXPECT_EQ(frame.time, (MediaTime{frame.stamp, 30}));
    EXPECT_LT(appended - duration.seconds(), 2.5);
    EXPECT_LT(media.frames.back().time, duration);
  }

 private:
  std::filesystem::path path_;
  Seconds after_;
  ChildProcess process_;
  Clock::time_point begin_;
};

TEST(KilledRecording, PlaysUpToItsLastFragment) {
  const TemporaryFolder folder;
  for (const double first : {0.3, 2.3}) {
    std::vector<std::unique_ptr<KilledProcess>> processes;
    for (int i = 0; i < 3; ++i) {
      const double after = first + 0.67 * i;
      processes.push_back(
          std::make_unique<KilledProcess>(folder / fmt::format("{}.mp4", after), Seconds(after)));
    }
    for (auto& process : processes) process->waitForItsStart();
    for (auto& process : processes) process->killAndCheck();
  }
}

}  // namespace
}  // namespace quillant
