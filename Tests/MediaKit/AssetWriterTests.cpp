#include <algorithm>
#include <cstdlib>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Core/AtomicFile.h"
#include "MediaKit/MediaError.h"
#include "MediaKit/Reading/AssetProbe.h"
#include "MediaKit/Writing/AssetWriter.h"
#include "MediaKit/Writing/PictureConverter.h"
#include "MediaKit/Writing/WriterPipeline.h"
#include "Tests/MediaKit/FaultyDisk.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/Media/DecodedMedia.h"
#include "Tests/Support/Media/StampedFrames.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The types of the boxes at the top of a file.
std::vector<std::string> boxesOf(const std::filesystem::path& path) {
  const auto bytes = AtomicFile::read(path);
  std::vector<std::string> types;
  for (std::size_t at = 0; at + 16 <= bytes.size();) {
    const auto number = [&](std::size_t from, std::size_t count) {
      std::uint64_t value = 0;
      for (std::size_t i = 0; i < count; ++i) value = value << 8 | std::uint8_t(bytes[from + i]);
      return value;
    };
    types.push_back(bytes.substr(at + 4, 4));
    const auto size = number(at, 4);
    at += size == 1 ? number(at + 8, 8) : std::max<std::uint64_t>(size, 8);
  }
  return types;
}

TEST(AssetWriter, FinishesToAnOrdinaryFileWithExactTimes) {
  const TemporaryFolder folder;
  for (const auto container : {MediaContainer::mp4, MediaContainer::quickTime}) {
    const auto path = folder / (container == MediaContainer::mp4 ? "a.mp4" : "a.mov");
    TestRecording{.frames = 75, .container = container, .audioChannels = {1, 2}}.write(path);
    EXPECT_THAT(boxesOf(path), ElementsAre("ftyp", "mdat", "moov"));
    const auto media = DecodedMedia::decode(path);
    EXPECT_THAT(media.errors, IsEmpty());
    EXPECT_EQ(media.colors, "smpte432 bt709 bt709 tv, smpte432 bt709 bt709 tv");
    ASSERT_EQ(media.frames.size(), 75U);
    for (std::uint32_t i = 0; i < 75; ++i) {
      EXPECT_EQ(media.frames[i].stamp, i);
      EXPECT_EQ(media.frames[i].time, (MediaTime{i, 30}));
    }
    ASSERT_EQ(media.sounds.size(), 2U);
    EXPECT_EQ(media.sounds[0].channels, 1);
    EXPECT_EQ(media.sounds[1].channels, 2);
  }
}

/// What can be played of a file that is still being written.
MediaTime playable(const std::filesystem::path& path) {
  try {
    return AssetProbe::probe(path).duration;
  } catch (const MediaError&) {
    return MediaTime::zero();
  }
}

TEST(AssetWriter, KeepsIrregularTimesAcrossFragments) {
  const TemporaryFolder folder;
  std::vector<MediaTime> times;
  for (int i = 0; i < 40; ++i)
    times.push_back({3'600'000 + i * 40 + (i * i * 7) % 31 + (i > 20 ? 5000 : 0), 1000});
  for (const bool finishes : {true, false}) {
    const auto path = folder / (finishes ? "finished.mp4" : "left.mp4");
    {
      AssetWriter writer(path, MediaContainer::mp4, {1, 100});
      const auto video = writer.addVideo({192, 108, 30});
      ASSERT_TRUE(writer.startWriting());
      writer.startSession(times.front());
      for (std::uint32_t i = 0; i < times.size(); ++i) {
        ASSERT_TRUE(eventually([&] { return writer.isReady(video); }));
        ASSERT_TRUE(writer.append(video, StampedFrames::moving(192, 108, i), times[i]));
        // Some pictures stand until a fragment has closed over them; the next then leaves a gap.
        const auto time = times[i] - times[0];
        ASSERT_TRUE(i % 10 != 9 || eventually([&] { return playable(path) > time; }));
      }
      if (finishes) runBlocking(writer.finishWriting());
    }
    const auto media = DecodedMedia::decode(path);
    EXPECT_THAT(media.errors, IsEmpty());
    EXPECT_GT(boxesOf(path).size(), finishes ? 2U : 8U);
    ASSERT_EQ(media.frames.size(), times.size());
    for (std::uint32_t i = 0; i < times.size(); ++i) {
      EXPECT_EQ(media.frames[i].stamp, i);
      EXPECT_EQ(media.frames[i].time, (times[i] - times[0]).converted(90'000)) << i;
    }
  }
}

/// The encoder believes what it is told about unchanged blocks: a picture that was lost or repeated must not
/// leave stale pixels behind.
TEST(AssetWriter, ShowsEachPictureWholeWhenOthersAreLostOrRepeated) {
  constexpr int width = 256;
  constexpr int height = 128;
  const TemporaryFolder folder;
  AssetWriter writer(folder / "a.mp4", MediaContainer::mp4, {3, 2});
  const auto video = writer.addVideo({width, height, 30, ColorTagging::p3D65Rec709});
  ASSERT_TRUE(writer.startWriting());
  writer.startSession(MediaTime::zero());
  const std::vector<std::uint32_t> indices{0, 1, 2, 5, 6, 6, 7, 10, 10, 11, 3, 4};
  for (std::size_t i = 0; i < indices.size(); ++i) {
    ASSERT_TRUE(eventually([&] { return writer.isReady(video); }));
    ASSERT_TRUE(writer.append(video, StampedFrames::mostlyStill(width, height, indices[i]),
                              {static_cast<std::int64_t>(i), 30}));
  }
  runBlocking(writer.finishWriting());
  const auto media = DecodedMedia::decode(folder / "a.mp4", DecodedMedia::Keep::pictures);
  ASSERT_EQ(media.frames.size(), indices.size());
  for (std::size_t i = 0; i < indices.size(); ++i) {
    const auto expected =
        PictureConverter(width, height).convert(*StampedFrames::mostlyStill(width, height, indices[i]));
    const auto plane = expected.picture->planes[0];
    int worstBlock = 0;  // the sum of differences over 8 by 8 pixels
    for (int y = 0; y < height; y += 8)
      for (int x = 0; x < width; x += 8) {
        int sum = 0;
        for (int at = 0; at < 64; ++at)
          sum += std::abs(plane.data[(y + at / 8) * plane.stride + x + at % 8] -
                          media.frames[i].luma[static_cast<std::size_t>((y + at / 8) * width + x + at % 8)]);
        worstBlock = std::max(worstBlock, sum);
      }
    EXPECT_LT(worstBlock, 64 * 12) << "picture " << i;
  }
}

TEST(AssetWriter, ClosesFragmentsOfAStillScreen) {
  const TemporaryFolder folder;
  const auto path = folder / "a.mp4";
  AssetWriter writer(path, MediaContainer::mp4, {1, 20});
  const auto video = writer.addVideo({192, 108, 30});
  ASSERT_TRUE(writer.startWriting());
  writer.startSession(MediaTime::zero());
  const auto picture = StampedFrames::mostlyStill(192, 108, 0);
  for (int second = 0; second < 4; ++second) {
    ASSERT_TRUE(writer.append(video, picture, {second, 1}));
    EXPECT_TRUE(eventually([&] { return playable(path) > MediaTime{second, 1}; })) << second;
  }
  EXPECT_EQ(writer.counters().pixelsConverted, 192U * 108U);
  EXPECT_EQ(writer.counters().framesEncoded, 4U);
  runBlocking(writer.finishWriting());
  EXPECT_EQ(DecodedMedia::decode(path).frames.back().time, (MediaTime{3, 1}));
}

TEST(AssetWriter, DropsFramesAndWarnsWhenTheEncoderIsOverloaded) {
  const TemporaryFolder folder;
  AssetWriter writer(folder / "a.mp4", MediaContainer::mp4, {3, 2});
  const auto video = writer.addVideo({640, 360, 60});
  ASSERT_TRUE(writer.startWriting());
  writer.startSession(MediaTime::zero());
  const std::vector<PixelBufferRef> pictures{StampedFrames::noise(640, 360, 0),
                                             StampedFrames::noise(640, 360, 1)};
  std::int64_t offered = 0;
  EXPECT_TRUE(eventually([&] {
    writer.append(video, pictures[static_cast<std::size_t>(offered % 2)], {offered, 500});
    ++offered;
    const auto counters = writer.counters();
    EXPECT_LE(counters.framesAppended - counters.framesEncoded, 16U);
    return writer.warnings().size() == 2 && counters.framesRefused > 1;
  }));
  const auto dropped = writer.counters().framesRefused;
  EXPECT_EQ(writer.counters().framesAppended + dropped, static_cast<std::uint64_t>(offered));
  EXPECT_THAT(
      writer.warnings(),
      ElementsAre("the encoder could not keep up and was set to work faster: the file "
                  "is larger for it",
                  std::to_string(dropped) + " frames were dropped because this machine could not keep up"));
  runBlocking(writer.finishWriting());
  const auto media = DecodedMedia::decode(folder / "a.mp4");
  EXPECT_THAT(media.errors, IsEmpty());
  EXPECT_EQ(media.frames.size(), writer.counters().framesEncoded);
}

TEST(AssetWriter, LosesPicturesAndSoundToASlowDiskButMakesNoLargerFile) {
  const TemporaryFolder folder;
  AssetWriter writer(folder / "a.mp4", MediaContainer::mp4, {1, 100}, 10'000);
  const auto video = writer.addVideo({192, 108, 30});
  const auto sound = writer.addAudio({1, 96'000});
  ASSERT_TRUE(writer.startWriting());
  writer.startSession(MediaTime::zero());
  std::uint32_t offered = 0;
  const auto offer = [&] {
    writer.append(video, StampedFrames::moving(192, 108, offered), {offered, 30});
    ++offered;
    EXPECT_TRUE(
        eventually([&] { return writer.counters().framesEncoded == writer.counters().framesAppended; }));
  };
  {
    const FaultyDisk::Stall stall;
    EXPECT_TRUE(eventually([&] {
      offer();
      return writer.counters().framesRefused == 20;
    }));
    EXPECT_FALSE(writer.append(sound, TestRecording::sound(0, 24'000, 1)));
  }
  EXPECT_TRUE(eventually([&] { return writer.isReady(video); }));
  offer();
  runBlocking(writer.finishWriting());
  EXPECT_EQ(writer.counters().framesEncoded, offered - 20);
  EXPECT_THAT(writer.warnings(),
              ElementsAre("20 frames were dropped because the disk could not keep up",
                          "0.50 s of sound are silent because the disk could not keep up"));
}

TEST(AssetWriter, ClosesWhatWasEncodedBeforeAnEncoderFailed) {
  const TemporaryFolder folder;
  AssetWriter writer(folder / "a.mp4", MediaContainer::mp4, {60, 1});
  const auto video = writer.addVideo({192, 108, 30});
  const auto audio = writer.addAudio({.channels = 1, .bitRate = 96'000});
  ASSERT_TRUE(writer.startWriting());
  writer.startSession(MediaTime::zero());
  constexpr std::uint32_t count = 20;
  for (std::uint32_t i = 0; i < count; ++i) {
    ASSERT_TRUE(eventually([&] { return writer.isReady(video); }));
    ASSERT_TRUE(writer.append(video, StampedFrames::moving(192, 108, i), MediaTime{i, 30}));
  }
  ASSERT_TRUE(eventually([&] { return writer.counters().framesEncoded == count; }));
  constexpr int tooMany = 100;
  writer.append(audio, {.channels = tooMany, .samples = std::vector<float>(4800 * tooMany)});
  ASSERT_TRUE(eventually([&] { return writer.status() == AssetWriter::Status::failed; }));
  runBlocking(writer.finishWriting());
  EXPECT_EQ(writer.status(), AssetWriter::Status::failed);
  EXPECT_THAT(boxesOf(folder / "a.mp4"), ElementsAre("ftyp", "mdat", "moov"));
  EXPECT_EQ(DecodedMedia::decode(folder / "a.mp4").frames.size(), count);
}

TEST(AssetWriter, RefusesWhatItCannotWrite) {
  const TemporaryFolder folder;
  AtomicFile::write(folder / "taken.mp4", "a recording");
  AssetWriter taken(folder / "taken.mp4", MediaContainer::mp4, {3, 2});
  taken.addVideo({192, 108, 30});
  EXPECT_FALSE(taken.startWriting());
  EXPECT_EQ(taken.status(), AssetWriter::Status::failed);
  EXPECT_THAT(describe(taken.error()), testing::HasSubstr("File exists"));
  EXPECT_EQ(AtomicFile::read(folder / "taken.mp4"), "a recording");

  AssetWriter odd(folder / "odd.mp4", MediaContainer::mp4, {3, 2});
  odd.addVideo({191, 107, 30});
  EXPECT_FALSE(odd.startWriting());
  EXPECT_THROW(std::rethrow_exception(odd.error()), MediaError);
  EXPECT_FALSE(std::filesystem::exists(folder / "odd.mp4"));

  AssetWriter writer(folder / "a.mp4", MediaContainer::mp4, {3, 2});
  const auto video = writer.addVideo({192, 108, 30});
  ASSERT_TRUE(writer.startWriting());
  EXPECT_FALSE(writer.append(video, StampedFrames::moving(192, 108, 0), MediaTime::zero())) << "no session";
  writer.startSession(MediaTime::zero());
  EXPECT_FALSE(writer.append(video, StampedFrames::moving(200, 108, 0), MediaTime::zero())) << "another size";
  runBlocking(writer.finishWriting());
  EXPECT_EQ(writer.status(), AssetWriter::Status::completed);
  EXPECT_THROW(AssetProbe::probe(folder / "a.mp4"), MediaError);
}

TEST(H264Encoder, DescribesTheHighProfileWhole) {
  const auto record = H264Encoder({192, 108, 30}).configuration();
  EXPECT_EQ(record[1], 100);
  std::size_t at = 6;
  const auto skipSet = [&] { at += 2U + (std::size_t{record[at]} << 8 | record[at + 1]); };
  skipSet();
  ++at;
  skipSet();
  EXPECT_THAT(std::vector(record.begin() + std::ptrdiff_t(at), record.end()),
              ElementsAre(0xFD, 0xF8, 0xF8, 0));
}

TEST(WriterPipeline, MayEndAsAFragmentFallsDue) {
  const TemporaryFolder folder;
  SerialQueue queue("quillant.test"), laterQueue("quillant.test.later");
  const auto make = [&](const char* name, SerialQueue& on) {
    return std::make_unique<WriterPipeline>(
        WriterPipeline::Settings{.path = folder / name, .video = {{192, 108, 30}}}, on,
        [](const std::exception_ptr&) {});
  };
  auto pipeline = make("a.mp4", queue), later = make("b.mp4", laterQueue);
  const auto picture = PictureConverter(192, 108).convert(*StampedFrames::moving(192, 108, 0)).picture;
  // While the queue is busy the timer expires, as that of a later pipeline shows; its handler runs after the
  // end.
  std::promise<void> isBusy;
  queue.async([&] {
    pipeline->encode(0, *picture, 0, WriterPipeline::Clock::now());
    laterQueue.sync([&] { later->encode(0, *picture, 0, WriterPipeline::Clock::now()); });
    isBusy.set_value();
    EXPECT_TRUE(eventually([&] { return later->fragmentsClosed() > 0; }));
  });
  isBusy.get_future().wait();
  queue.sync([&] { pipeline.reset(); });
  laterQueue.sync([&] { later.reset(); });
}

}  // namespace
}  // namespace quillant
