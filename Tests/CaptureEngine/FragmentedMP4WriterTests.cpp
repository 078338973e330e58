#include <algorithm>
#include <atomic>
#include <gmock/gmock.h>
#include <sys/mount.h>

#include "CaptureEngine/FragmentedMP4Writer.h"
#include "MediaKit/Reading/AssetProbe.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/Media/DecodedMedia.h"
#include "Tests/Support/Media/StampedFrames.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

namespace {

constexpr int width = 128;
constexpr int height = 48;

MediaTime at(double seconds) {
  return MediaTime::fromSeconds(1000 + seconds);
}

/// A writer of real files whose clock stands where the test puts it.
class FragmentedMP4WriterTest : public testing::Test {
 protected:
  std::unique_ptr<FragmentedMP4Writer> makeWriter(std::filesystem::path url) {
    return std::make_unique<FragmentedMP4Writer>(
        FragmentedMP4Writer::Configuration{.outputURL = std::move(url),
                                           .video = {.width = width, .height = height},
                                           .microphone = true,
                                           .pauseClock = pauseClock,
                                           .now =
                                               [this] {
                                                 if (clockFails) throw std::bad_alloc();
                                                 return at(now);
                                               },
                                           .onFailure = [this](std::exception_ptr) { ++failures; }},
        queue);
  }

  /// A frame that differs from the one before; it is encoded when this returns.
  void append(double seconds) {
    now = seconds;
    queue.sync([&] { writer->append(StampedFrames::moving(width, height, frames++), at(seconds)); });
    waitForTheEncoder();
  }
  void beat(double seconds) {
    now = seconds;
    queue.sync([&] { writer->repeatIfStill(at(seconds)); });
    waitForTheEncoder();
  }
  void waitForTheEncoder() {
    ASSERT_TRUE(
        eventually([&] { return writer->counters().framesEncoded >= writer->counters().framesAppended; }));
  }
  void finish(double seconds) {
    now = seconds;
    runBlocking(writer->finish());
  }
  std::uint64_t appended() const { return writer->counters().framesAppended; }
  double duration() const { return AssetProbe::probe(path).duration.seconds(); }

  TemporaryFolder folder;
  std::filesystem::path path = folder / "x.mp4";
  std::shared_ptr<PauseClock> pauseClock = std::make_shared<PauseClock>();
  std::atomic<double> now = 0;
  std::atomic<int> failures = 0;
  std::atomic<bool> clockFails = false;
  std::uint32_t frames = 0;
  SerialQueue queue{"writer"};
  std::unique_ptr<FragmentedMP4Writer> writer = makeWriter(path);
};

TEST_F(FragmentedMP4WriterTest, LeavesNoGapWhereItWasPausedHoweverOften) {
  append(0);
  append(0.5);
  pauseClock->pause(at(0.6));
  append(2);
  append(3);
  beat(4);  // nothing is repeated either
  EXPECT_EQ(appended(), 2U);
  pauseClock->resume(at(5.6));
  append(5.5);  // of the pause, and late: nothing shown in it reaches the file
  append(5.8);
  pauseClock->pause(at(6));
  pauseClock->resume(at(8));
  append(8.2);
  finish(8.6);
  EXPECT_EQ(writer->sessionStartTime(), at(0));

  EXPECT_NEAR(duration(), 8.6 - 5 - 2, 0.05);
  const auto media = DecodedMedia::decode(path);
  EXPECT_THAT(media.errors, testing::IsEmpty());
  std::vector<double> times;
  std::vector<std::uint32_t> stamps;
  for (const auto& frame : media.frames) {
    times.push_back(frame.time.seconds());
    stamps.push_back(frame.stamp);
  }
  EXPECT_THAT(times, testing::Pointwise(testing::DoubleNear(0.001), {0.0, 0.5, 0.8, 1.2, 1.6}));
  EXPECT_THAT(stamps, testing::ElementsAre(0, 1, 5, 6, 6));
}

TEST_F(FragmentedMP4WriterTest, RepeatsAStillPictureOnceASecondAndIsAsLongAsTheSession) {
  beat(0);  // before the first frame there is nothing to repeat
  append(0);
  beat(0.9);
  EXPECT_EQ(appended(), 1U);
  beat(0.95);
  append(0.95);  // not later than the repeat
  append(0.5);
  EXPECT_EQ(appended(), 2U);
  for (int second = 2; second < 20; ++second) beat(second);
  finish(20);
  EXPECT_EQ(appended(), 21U);
  EXPECT_LE(writer->counters().framesEncoded, 25U);
  EXPECT_NEAR(duration(), 20, 0.05);
}

TEST_F(FragmentedMP4WriterTest, ShowsAtOnceWhatWasTakenJustBeforeARepeat) {
  append(0);
  beat(1);
  now = 1.004;
  queue.sync([&] { writer->append(StampedFrames::moving(width, height, frames++), at(0.999)); });
  finish(1.5);
  const auto shown = DecodedMedia::decode(path).frames;
  ASSERT_EQ(shown.size(), 4U);
  EXPECT_EQ(shown[2].stamp, 1U);
  EXPECT_NEAR(shown[2].time.seconds(), 1.004, 0.001);
}

TEST_F(FragmentedMP4WriterTest, RepeatsTheNewestFrameThoughItWasDropped) {
  std::vector<PixelBufferRef> pictures;
  while (pictures.size() < 300)
    pictures.push_back(StampedFrames::moving(width, height, static_cast<std::uint32_t>(pictures.size())));
  const auto dropped = [&] { return writer->counters().framesRefused; };
  queue.sync([&] {
    while (dropped() == 0 && frames < pictures.size()) {  // faster than any encoder
      writer->append(pictures[frames], at(frames / 1000.0));
      ++frames;
    }
    writer->repeatIfStill(at(2));
    EXPECT_EQ(dropped(), 1U);  // a repeat for which there is no time is not a frame that is missed
  });
  waitForTheEncoder();
  beat(3);
  finish(3.5);
  EXPECT_EQ(DecodedMedia::decode(path).frames.back().stamp, frames - 1);
}

TEST_F(FragmentedMP4WriterTest, AddsNoLastFrameWhilePausedAndFinishesOnce) {
  append(0);
  append(1);
  pauseClock->pause(at(1.2));
  finish(9);
  const auto size = std::filesystem::file_size(path);
  EXPECT_EQ(appended(), 2U);
  EXPECT_LT(duration(), 2);
  finish(10);
  append(11);
  EXPECT_EQ(std::filesystem::file_size(path), size);
}

TEST_F(FragmentedMP4WriterTest, DropsSoundBeforeTheFirstFrameAndWhilePaused) {
  const auto sound = [&](double seconds) {
    writer->appendAudio({.time = at(seconds), .samples = std::vector<float>(4800, 0.25F)},
                        FragmentedMP4Writer::SoundTrack::microphone);
    writer->appendAudio({.time = at(seconds), .channels = 2, .samples = std::vector<float>(9600)},
                        FragmentedMP4Writer::SoundTrack::systemAudio);  // there is no such track
  };
  sound(-0.1);
  append(0);
  for (int tenth = 0; tenth < 10; ++tenth) sound(tenth * 0.1);
  queue.sync([] {});
  pauseClock->pause(at(1));
  for (int tenth = 10; tenth < 20; ++tenth) sound(tenth * 0.1);
  queue.sync([] {});
  pauseClock->resume(at(2));
  for (int tenth = 20; tenth < 25; ++tenth) sound(tenth * 0.1);
  append(2.5);
  finish(2.5);

  const auto media = DecodedMedia::decode(path);
  ASSERT_EQ(media.sounds.size(), 1U);
  const auto& samples = media.sounds[0].samples;
  EXPECT_NEAR(static_cast<double>(samples.size()) / 48'000, 1.5, 0.06);
  // The encoder's edges aside the tone never falls silent: neither pause nor track left a hole.
  EXPECT_GT(*std::min_element(samples.begin() + 4800, samples.end() - 4800), 0.2F);
}

TEST_F(FragmentedMP4WriterTest, RefusesAFileThatExists) {
  try {
    makeWriter(path);
    ADD_FAILURE();
  } catch (const FragmentedMP4Writer::WriterError& error) {
    EXPECT_EQ(error.description(), "asset writer failed: could not write " + path.string() + ": File exists");
    EXPECT_NE(error.underlying(), nullptr);
  }
  EXPECT_EQ(FragmentedMP4Writer::WriterError(nullptr).description(), "asset writer failed: unknown error");
}

TEST_F(FragmentedMP4WriterTest, ClosesTheFileThoughMemoryRanOutOnItsQueue) {
  append(0);
  append(0.5);
  clockFails = true;
  EXPECT_TRUE(eventually([&] { return failures > 0; })) << "the heartbeat reads the clock";
  runBlocking(writer->finish());
  EXPECT_EQ(DecodedMedia::decode(path).frames.size(), 2U);
  EXPECT_GT(duration(), 0.5);
}

TEST_F(FragmentedMP4WriterTest, TellsAFullDiskAtTheNextFrameAndAtTheNextBeat) {
  if (::mount("none", folder.path().c_str(), "tmpfs", 0, "size=64k") != 0)
    GTEST_SKIP() << "only root can mount a small disk";
  path = folder / "full.mp4";
  writer = makeWriter(path);
  EXPECT_TRUE(eventually([&] {
    try {
      queue.sync([&] { writer->append(StampedFrames::moving(width, height, frames), at(frames / 30.0)); });
      ++frames;
      return false;
    } catch (const FragmentedMP4Writer::WriterError&) {
      return true;
    }
  }));
  queue.sync([&] { writer->repeatIfStill(at(1000)); });
  EXPECT_GE(failures, 1);
  EXPECT_THROW(finish(101), FragmentedMP4Writer::WriterError);
  EXPECT_THAT(DecodedMedia::decode(path).errors, testing::IsEmpty());
  EXPECT_GT(duration(), 0.3);
  writer.reset();
  ::umount2(folder.path().c_str(), MNT_DETACH);
}

}  // namespace

}  // namespace quillant
