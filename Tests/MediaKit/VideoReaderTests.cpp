#include <algorithm>
#include <gtest/gtest.h>
#include <random>

#include "MediaKit/MediaError.h"
#include "MediaKit/Reading/AssetProbe.h"
#include "MediaKit/Reading/VideoReader.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/Media/DecodedMedia.h"
#include "Tests/Support/Media/StampedFrames.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

namespace {

std::uint32_t stamp(const VideoFrame& frame) {
  return StampedFrames::read(frame.picture->planes[0].data, frame.picture->planes[0].stride);
}

void convert(const std::filesystem::path& from, const std::vector<std::string>& how,
             const std::filesystem::path& to) {
  std::vector<std::string> words{"ffmpeg", "-v", "error", "-y", "-i", from.string()};
  words.insert(words.end(), how.begin(), how.end());
  words.push_back(to.string());
  ASSERT_EQ(ChildProcess(words).wait(), 0);
}

}  // namespace

TEST(VideoReader, GivesTheFrameThatIsShownInWhateverOrderItIsAsked) {
  const TemporaryFolder folder;
  TestRecording{.frames = 240}.write(folder / "recording.mp4");
  struct Case {
    const char* name;
    std::vector<std::string> how;
  };
  const Case cases[] = {
      {"copy.mp4", {"-c", "copy"}},
      {"long.mp4", {"-c:v", "libx264", "-bf", "3", "-g", "1000", "-preset", "veryfast"}},
      {"open.mp4",
       {"-c:v", "libx264", "-bf", "3", "-g", "20", "-preset", "veryfast", "-x264-params", "open-gop=1"}},
      {"variable.mov",
       {"-vf", "select='not(mod(n,7))+not(mod(n,11))+gt(n,150)'", "-vsync", "vfr", "-c:v", "libx264", "-bf",
        "2", "-g", "30", "-preset", "veryfast"}},
      {"ticks.mkv", {"-c:v", "libx264", "-bf", "2", "-g", "50", "-preset", "veryfast"}},
  };
  for (const auto& [name, how] : cases) {
    SCOPED_TRACE(name);
    const auto path = folder / name;
    convert(folder / "recording.mp4", how, path);
    const auto frames = DecodedMedia::decode(path).frames;
    ASSERT_GT(frames.size(), 50u);
    EXPECT_NEAR(AssetProbe::probe(path).tracks.front().duration.seconds(), 8, 0.05);
    const auto expected = [&](double time) {
      const auto after =
          std::ranges::find_if(frames, [&](const auto& frame) { return frame.time.seconds() > time + 1e-6; });
      return (after == frames.begin() ? after : std::prev(after))->stamp;
    };
    VideoReader reader(path, 0, {.threads = 2});
    for (const auto& frame : frames) {
      const auto found = reader.frame(frame.time.seconds());
      ASSERT_TRUE(found);
      ASSERT_EQ(stamp(*found), frame.stamp) << frame.time.seconds();
    }
    std::mt19937 random(3);
    for (int i = 0; i < 60; ++i) {
      const double time = std::uniform_real_distribution<>(-0.1, 8.2)(random);
      const auto found = reader.frame(time);
      ASSERT_TRUE(found) << time;
      ASSERT_EQ(stamp(*found), expected(time)) << time;
      ASSERT_LT(found->start, found->end);
    }
    EXPECT_EQ(reader.frame(1)->picture, reader.frame(1 + 1e-4)->picture) << "one picture, not decoded twice";
    EXPECT_NEAR(reader.frame(100)->end, 8, 0.04);
  }
}

TEST(VideoReader, TellsWhatDiffersFromThePictureBefore) {
  const TemporaryFolder folder;
  const auto path = folder / "still.mp4";
  const auto write = [](const std::filesystem::path& to, std::initializer_list<int> indices) {
    AssetWriter writer(to, MediaContainer::mp4, {1, 2});
    const auto video = writer.addVideo({640, 360, 30, ColorTagging::p3D65Rec709});
    ASSERT_TRUE(writer.startWriting());
    writer.startSession(MediaTime::zero());
    for (const int i : indices)
      while (!writer.append(video, StampedFrames::mostlyStill(640, 360, std::uint32_t(i / 2)), {i, 30}))
        ;
    runBlocking(writer.finishWriting());
  };
  write(folder / "clicks.mp4", {0, 30, 34, 60, 61, 91, 121});
  EXPECT_EQ(VideoReader(folder / "clicks.mp4").track().nominalFrameRate, 0) << "near one another by chance";
  write(path, {0, 1, 2, 3, 4, 5, 100, 200});
  EXPECT_EQ(VideoReader(path).track().nominalFrameRate, 30) << "not the average of one a second";
  VideoReader reader(path, 0, {.findsChanges = true});
  const auto area = [](const PixelBuffer& picture) {
    int pixels = 0;
    for (const auto& rect : picture.changed) pixels += rect.width * rect.height;
    return pixels;
  };
  const auto first = reader.frame(0)->picture;
  EXPECT_EQ(first->sequence, 1u);
  EXPECT_EQ(reader.frame(1 / 30.0)->picture, first) << "nothing moved";
  const auto moved = reader.frame(2 / 30.0)->picture;
  EXPECT_EQ(moved->sequence, 2u);
  EXPECT_EQ(moved->source, first->source);
  EXPECT_GT(area(*moved), 32 * 32);
  EXPECT_LT(area(*moved), 640 * 360 / 4) << "a block and a stamp moved";
}

TEST(VideoReader, SharesOrConvertsWhatIsDecodedAndSaysItsColours) {
  const TemporaryFolder folder;
  TestRecording{.width = 130, .height = 34, .frames = 3}.write(folder / "recording.mp4");
  struct Case {
    const char* name;
    std::vector<std::string> how;
    PixelFormat format;
    ColorEncoding color;
  };
  using Color = ColorEncoding;
  const Case cases[] = {
      {"a.mp4", {"-c:v", "libx264", "-pix_fmt", "yuv444p"}, PixelFormat::i444, {}},
      {"b.mp4",
       {"-c:v", "libx264", "-pix_fmt", "yuv422p10", "-colorspace", "smpte170m"},
       PixelFormat::i422x10,
       {.matrix = Color::Matrix::bt601}},
      {"c.mp4",
       {"-c:v", "libx264", "-pix_fmt", "yuvj420p", "-bsf:v", "h264_metadata=chroma_sample_loc_type=1"},
       PixelFormat::i420,
       {.range = Color::Range::full, .chromaSite = Color::ChromaSite::center}},
      {"d.mkv", {"-c:v", "ffv1", "-pix_fmt", "bgr0"}, PixelFormat::bgra, {}},
      {"e.mkv", {"-c:v", "ffv1", "-pix_fmt", "yuv411p"}, PixelFormat::i422, {}},
  };
  for (const auto& [name, how, format, color] : cases) {
    SCOPED_TRACE(name);
    convert(folder / "recording.mp4", how, folder / name);
    const auto picture = VideoReader(folder / name).frame(0)->picture;
    EXPECT_EQ(picture->format, format);
    EXPECT_TRUE(format == PixelFormat::bgra || picture->color == color);
    EXPECT_EQ(picture->width, 130);
  }
  convert(folder / "recording.mp4", {"-c:v", "libx264", "-colorspace", "bt2020nc", "-pix_fmt", "yuv420p10"},
          folder / "hdr.mp4");
  VideoReader wide(folder / "hdr.mp4");
  EXPECT_THROW(wide.frame(0), MediaError);
}

}  // namespace quillant
