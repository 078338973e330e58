#include <gtest/gtest.h>

#include "Core/AtomicFile.h"
#include "MediaKit/MediaError.h"
#include "Tests/Support/Media/DecodedMedia.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/Support/TemporaryFolder.h"
#include "quillant/Commands/VideoFile.h"

namespace quillant {
namespace {

TEST(VideoFile, TellsTheVideosFactsAndShowsAFrameOfItsSubject) {
  const TemporaryFolder folder;
  const auto video = folder / "video.mp4";
  for (const auto& [frames, shown] : {std::pair(30, 10U), std::pair(9, 4U), std::pair(1, 0U)}) {
    TestRecording{.frameRate = 10, .frames = frames}.write(video);
    const auto facts = VideoFile::probe(video);
    EXPECT_EQ(facts.sizeBytes, static_cast<std::int64_t>(std::filesystem::file_size(video)));
    EXPECT_NEAR(static_cast<double>(facts.durationMs), frames * 100.0, 100);
    EXPECT_EQ(facts.width, 192);
    EXPECT_EQ(facts.height, 108);
    VideoFile::makePoster(video, folder / "poster.jpg");
    EXPECT_EQ(DecodedMedia::decode(folder / "poster.jpg").frames.at(0).stamp, shown);
    std::filesystem::remove(video);
  }
  AtomicFile::write(video, "no video");
  EXPECT_THROW(VideoFile::probe(video), MediaError);
  EXPECT_THROW(VideoFile::probe(folder / "gone.mp4"), FileError);
}

}  // namespace
}  // namespace quillant
