#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Core/Error.h"
#include "MediaKit/AssetProbe.h"
#include "MediaKit/AssetWriter.h"
#include "Tests/Support/Media/DecodedMedia.h"
#include "Tests/Support/Media/StampedFrames.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

TEST(AssetWriter, WritesPicturesAndSoundAtTheTimesTheyWereGiven) {
  TemporaryFolder folder;
  const auto path = folder / "a.mp4";
  AssetWriter writer(path, MediaContainer::mp4, {900, 600});
  const auto video = writer.addVideo({320, 180, 30, ColorTagging::p3D65Rec709});
  const auto mic = writer.addAudio({1, 96'000});
  ASSERT_TRUE(writer.startWriting());
  writer.startSession({100, 1});
  for (std::uint32_t i = 0; i < 60; ++i) {
    while (!writer.isReady(video)) std::this_thread::yield();
    ASSERT_TRUE(writer.append(video, StampedFrames::moving(320, 180, i), MediaTime{3000 + i, 30}));
    AudioBuffer sound{MediaTime{3000 + i, 30}, 48000, 1, std::vector<float>(1600, 0.25F)};
    ASSERT_TRUE(writer.append(mic, sound)) << i << describe(writer.error());
  }
  runBlocking(writer.finishWriting());
  EXPECT_EQ(writer.status(), AssetWriter::Status::completed) << describe(writer.error());
  const auto decoded = DecodedMedia::decode(path);
  EXPECT_THAT(decoded.errors, testing::IsEmpty());
  EXPECT_EQ(decoded.colors, "smpte432 bt709 bt709 tv, smpte432 bt709 bt709 tv");
  EXPECT_EQ(decoded.frames.size(), 60U);
  for (std::uint32_t i = 0; i < decoded.frames.size(); ++i) {
    EXPECT_EQ(decoded.frames[i].stamp, i);
    EXPECT_EQ(decoded.frames[i].time, (MediaTime{i, 30})) << decoded.frames[i].time.seconds();
  }
  const auto asset = AssetProbe::probe(path);
  ASSERT_EQ(asset.tracks.size(), 2U);
  EXPECT_EQ(asset.tracks[0].duration, (MediaTime{2, 1}));
}

}  // namespace
}  // namespace quillant
