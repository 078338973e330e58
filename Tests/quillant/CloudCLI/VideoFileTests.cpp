#include <gtest/gtest.h>

#include "Core/AtomicFile.h"
#include "MediaKit/AssetWriter.h"
#include "MediaKit/MediaError.h"
#include "Tests/Support/Media/DecodedMedia.h"
#include "Tests/Support/Media/StampedFrames.h"
#include "Tests/Support/TemporaryFolder.h"
#include "quillant/VideoFile.h"

namespace quillant {
namespace {

/// A video of 320 by 180 pixels with ten numbered frames a second.
std::filesystem::path makeVideo(const std::filesystem::path& path, std::uint32_t frames) {
  AssetWriter writer(path, MediaContainer::mp4, MediaTime{1, 1});
  const auto input = writer.addVideo({.width = 320, .height = 180});
  EXPECT_TRUE(writer.startWriting());
  writer.startSession(MediaTime::zero());
  for (std::uint32_t index = 0; index < frames; ++index) {
    while (!writer.isReady(input)) std::this_thread::yield();
    EXPECT_TRUE(writer.append(input, StampedFrames::moving(320, 180, index), MediaTime{index, 10}));
  }
  writer.markAsFinished(input);
  runBlocking(writer.finishWriting());
  return path;
}

TEST(VideoFile, TellsTheVideosFactsAndShowsAFrameOfItsSubject) {
  TemporaryFolder folder;
  for (const auto& [frames, shown] : {std::pair(30U, 10U), std::pair(9U, 4U), std::pair(1U, 0U)}) {
    const auto video = makeVideo(folder / (std::to_string(frames) + ".mp4"), frames);
    const auto facts = VideoFile::probe(video);
    EXPECT_EQ(facts.sizeBytes, static_cast<std::int64_t>(std::filesystem::file_size(video)));
    EXPECT_NEAR(static_cast<double>(facts.durationMs), frames * 100.0, 100);
    EXPECT_EQ(facts.width, 320);
    EXPECT_EQ(facts.height, 180);

    const auto poster = folder / "poster.jpg";
    VideoFile::makePoster(video, poster);
    const auto picture = DecodedMedia::decode(poster);
    ASSERT_EQ(picture.frames.size(), 1U);
    EXPECT_EQ(picture.frames[0].stamp, shown);
    EXPECT_EQ(picture.frames[0].width, 320);
  }
}

TEST(VideoFile, TellsAFileWithoutAVideo) {
  TemporaryFolder folder;
  AtomicFile::write(folder / "notes.mp4", "no video");
  EXPECT_THROW(VideoFile::probe(folder / "notes.mp4"), MediaError);
  EXPECT_THROW(VideoFile::probe(folder / "gone.mp4"), FileError);
}

}  // namespace
}  // namespace quillant
