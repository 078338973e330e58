#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <random>

#include "Core/AtomicFile.h"
#include "Core/Error.h"
#include "MediaKit/MediaError.h"
#include "MediaKit/Reading/AssetProbe.h"
#include "MediaKit/Reading/FrameGrabber.h"
#include "Tests/MediaKit/FaultyDisk.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/Media/DecodedMedia.h"
#include "Tests/Support/Media/StampedFrames.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

TEST(AssetProbe, TellsTracksOfFinishedAndUnfinishedFiles) {
  const TemporaryFolder folder;
  const TestRecording recording{.width = 256, .height = 144, .frames = 45, .audioChannels = {1, 2}};
  recording.write(folder / "finished.mp4");
  recording.writeUnfinished(folder / "left.mp4");
  for (const char* name : {"finished.mp4", "left.mp4"}) {
    SCOPED_TRACE(name);
    const auto asset = AssetProbe::probe(folder / name);
    ASSERT_EQ(asset.tracks.size(), 3U);
    const auto video = asset.tracksOfKind(MediaTrack::Kind::video);
    ASSERT_EQ(video.size(), 1U);
    EXPECT_EQ(video[0].naturalSize, (Size{256, 144}));
    EXPECT_EQ(video[0].upright, AffineTransform{});
    EXPECT_GT(video[0].nominalFrameRate, 10);
    EXPECT_LT(video[0].nominalFrameRate, 31);
    EXPECT_EQ(asset.tracks[1].channels, 1);
    EXPECT_EQ(asset.tracks[2].channels, 2);
    EXPECT_EQ(asset.tracks[2].sampleRate, 48'000);
    const auto media = DecodedMedia::decode(folder / name);
    EXPECT_NEAR(video[0].duration.seconds(), media.frames.back().time.seconds() + 1.0 / 30, 0.034);
    EXPECT_NEAR(asset.tracks[1].duration.seconds(), double(media.sounds[0].samples.size()) / 48'000, 1e-6);
  }
  EXPECT_EQ(AssetProbe::probe(folder / "finished.mp4").tracks[0].duration, (MediaTime{45, 30}));

  // A read that fails is told, and never taken for the end of the file.
  const auto whole = AssetProbe::probe(folder / "left.mp4").duration;
  int step = 0;
  for (bool isMet = true; isMet; ++step) {
    FaultyDisk::arm(FaultyDisk::Fault::fails, step);
    try {
      EXPECT_EQ(AssetProbe::probe(folder / "left.mp4").duration, whole);
    } catch (const Error&) {
    }
    isMet = FaultyDisk::disarm();
  }
  EXPECT_GT(step, 10);
}

TEST(AssetProbe, TellsTheRateThatAKilledRecordingKeptWhileItMoved) {
  const TemporaryFolder folder;
  AssetWriter writer(folder / "left.mp4", MediaContainer::mp4, {1, 10});
  const auto video = writer.addVideo({192, 108, 30});
  ASSERT_TRUE(writer.startWriting());
  writer.startSession(MediaTime::zero());
  std::uint32_t count = 0;
  const auto append = [&](MediaTime time) {
    EXPECT_TRUE(eventually([&] { return writer.isReady(video); }));
    EXPECT_TRUE(writer.append(video, StampedFrames::moving(192, 108, count++), time));
  };
  // Three times somewhat late, and then in time again, as on a busy machine.
  for (int frame = 0; frame < 20; ++frame) append({frame / 4 * 133 + frame % 4 * 35, 1000});
  // Each beat of a still screen closes a fragment, whose only picture lasts a tick.
  for (int second = 2; second < 12; ++second) {
    append({second, 1});
    const auto closed = writer.counters().fragmentsClosed;
    EXPECT_TRUE(eventually([&] { return writer.counters().fragmentsClosed > closed; }));
  }
  EXPECT_EQ(AssetProbe::probe(folder / "left.mp4").tracks.at(0).nominalFrameRate, 30);
}

/// Without waiting for the disk, as an atomic write does.
void put(const std::filesystem::path& path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc).write(bytes.data(), std::ssize(bytes));
}

struct Box {
  std::string type;
  std::size_t begin;
  std::size_t end;
};

/// The boxes of an unfinished file, which are all of 32 bits.
std::vector<Box> boxesOf(const std::string& bytes) {
  std::vector<Box> boxes;
  for (std::size_t at = 0; at + 8 <= bytes.size(); at = boxes.back().end) {
    std::size_t size = 0;
    for (std::size_t i = 0; i < 4; ++i) size = size << 8 | std::uint8_t(bytes[at + i]);
    boxes.push_back({bytes.substr(at + 4, 4), at, at + size});
  }
  return boxes;
}

/// Seconds that can be played; nothing if the file is refused as unreadable.
std::optional<double> playable(const std::filesystem::path& path) {
  try {
    return AssetProbe::probe(path).duration.seconds();
  } catch (const MediaError& error) {
    EXPECT_EQ(error.kind(), MediaError::Kind::unreadable);
    return std::nullopt;
  }
}

TEST(AssetProbe, TellsWhatCanBePlayedOfAFileCutOffAnywhere) {
  const TemporaryFolder folder;
  const auto path = folder / "cut.mp4";
  TestRecording{.frames = 45, .audioChannels = {1}}.writeUnfinished(folder / "whole.mp4");
  const auto bytes = AtomicFile::read(folder / "whole.mp4");
  const auto boxes = boxesOf(bytes);
  ASSERT_EQ(boxes.back().end, bytes.size());
  ASSERT_GE(boxes.size(), 3 + 2 * 3U);

  // What an independent reader finds in the file up to the end of each fragment.
  std::map<std::size_t, double> whole{{0, 0}};
  std::vector<std::size_t> cuts{0, 1};
  for (const auto& box : boxes) {
    for (const std::size_t at : {box.begin + 3, box.begin + 7, box.begin + 8, box.begin + 20,
                                 (box.begin + box.end) / 2, box.end - 1, box.end})
      cuts.push_back(at);
    if (box.type != "mdat") continue;
    put(path, bytes.substr(0, box.end));
    const auto media = DecodedMedia::decode(path);
    EXPECT_THAT(media.errors, testing::IsEmpty());
    whole[box.end] = media.frames.back().time.seconds();
  }
  std::minstd_rand random(3);
  for (int i = 0; i < 100; ++i) cuts.push_back(random() % bytes.size());

  for (const auto cut : cuts) {
    SCOPED_TRACE("cut at " + std::to_string(cut));
    put(path, bytes.substr(0, cut));
    const double last = std::prev(whole.upper_bound(cut))->second;
    const auto seconds = playable(path);
    ASSERT_EQ(seconds.has_value(), last > 0);
    if (!seconds) continue;
    EXPECT_GT(*seconds, last);
    EXPECT_LT(*seconds, last + 0.15) << "sound may reach a little further";
    EXPECT_EQ(FrameGrabber::grab(path, MediaTime::fromSeconds(last, 90'000)).time.seconds(), last);
  }
}

TEST(AssetProbe, SurvivesDamagedFiles) {
  const TemporaryFolder folder;
  const auto path = folder / "damaged.mp4";
  const TestRecording recording{.frames = 20, .audioChannels = {2}};
  recording.writeUnfinished(folder / "left.mp4");
  recording.write(folder / "finished.mp4");
  std::minstd_rand random(9);
  for (const char* name : {"left.mp4", "finished.mp4"}) {
    const auto bytes = AtomicFile::read(folder / name);
    for (int round = 0; round < 200; ++round) {
      auto damaged = bytes;
      // The indexes: what is at the start, and in a finished file at the end.
      const bool atEnd = round % 2 && name[0] == 'f';
      const std::size_t reach = std::min<std::size_t>(bytes.size(), 3000);
      for (int i = 0; i < 1 + round % 5; ++i)
        damaged[(atEnd ? bytes.size() - reach : 0) + random() % reach] =
            static_cast<char>(random() % 3 ? random() >> 8 : 0xFF);
      put(path, damaged);
      EXPECT_GE(playable(path).value_or(0), 0);
    }
  }
}

TEST(AssetProbe, TellsFilesThatAreNoRecordings) {
  const TemporaryFolder folder;
  EXPECT_THROW(AssetProbe::probe(folder / "missing.mp4"), FileError);
  for (const auto& contents : {std::string(), std::string("no movie at all"), std::string(5000, '\0')}) {
    put(folder / "other.mp4", contents);
    EXPECT_EQ(playable(folder / "other.mp4"), std::nullopt);
  }
  // Sound alone, in a format without a movie's index: a second of silence.
  std::string wave(
      "RIFF\xA4\xBB\0\0WAVEfmt \x10\0\0\0\x01\0\x01\0\xC0\x5D\0\0\x80\xBB\0\0\x02\0\x10\0"
      "data\x80\xBB\0\0",
      44);
  wave.append(48'000, '\0');
  put(folder / "sound.wav", wave);
  const auto asset = AssetProbe::probe(folder / "sound.wav");
  ASSERT_EQ(asset.tracks.size(), 1U);
  EXPECT_EQ(asset.tracks[0].kind, MediaTrack::Kind::audio);
  EXPECT_EQ(asset.tracks[0].sampleRate, 24'000);
  EXPECT_EQ(asset.duration, (MediaTime{1, 1}));
}

}  // namespace
}  // namespace quillant
