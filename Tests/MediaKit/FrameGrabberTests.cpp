#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>

#include "Core/AtomicFile.h"
#include "MediaKit/MediaError.h"
#include "MediaKit/Pictures/JPEGImage.h"
#include "MediaKit/Reading/AssetProbe.h"
#include "MediaKit/Reading/FrameGrabber.h"
#include "Tests/Support/Media/StampedFrames.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

const std::uint8_t* pixel(const PixelBuffer& picture, int x, int y) {
  return picture.planes[0].data + static_cast<std::ptrdiff_t>(picture.planes[0].stride) * y + 4 * x;
}

std::uint32_t stampOf(const PixelBuffer& picture) {
  std::vector<std::uint8_t> greens;
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < picture.width; ++x) greens.push_back(pixel(picture, x, y)[1]);
  return StampedFrames::read(greens.data(), picture.width);
}

TEST(FrameGrabber, GivesThePictureThatIsShown) {
  const TemporaryFolder folder;
  // Pictures at 1, 1.1, 1.2 and 1.3 s, and then at 2.5 s: 12 at the start make no difference.
  const auto path = folder / "a.mp4";
  {
    AssetWriter writer(path, MediaContainer::mp4, {3, 2});
    const auto video = writer.addVideo({192, 108, 10, ColorTagging::p3D65Rec709});
    ASSERT_TRUE(writer.startWriting());
    writer.startSession(MediaTime::zero());
    std::uint32_t index = 0;
    for (const int tenths : {10, 11, 12, 25}) {
      while (!writer.append(video, StampedFrames::moving(192, 108, index), {tenths, 10}))
        ;
      ++index;
    }
    runBlocking(writer.finishWriting());
  }
  struct Case {
    double time;
    FrameGrabOptions options;
    int stamp;  ///< -1: nothing is shown.
  };
  const std::vector<Case> cases{
      {1.0, {}, 0},
      {1.15, {}, 1},
      {2.4999, {}, 2},
      {2.5, {}, 3},
      {2.59, {}, 3},
      {2.61, {}, -1},                           // the last picture lasts a tenth of a second
      {0.5, {}, -1},                            // the video starts later
      {0.5, {.toleranceAfter = {4, 10}}, -1},   //
      {0.5, {.toleranceAfter = {1, 2}}, 0},     //
      {1.25, {.toleranceBefore = {2, 10}}, 1},  // the first that will do, on the way to 1.2 s
      {1.25, {.toleranceBefore = {10, 1}}, 0},  //
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.time);
    try {
      const auto grabbed = FrameGrabber::grab(path, MediaTime::fromSeconds(each.time), each.options);
      EXPECT_EQ(static_cast<int>(stampOf(*grabbed.picture)), each.stamp);
    } catch (const MediaError& error) {
      EXPECT_EQ(error.kind(), MediaError::Kind::noFrame);
      EXPECT_EQ(each.stamp, -1);
    }
  }
}

TEST(FrameGrabber, TurnsAndShrinksThePicture) {
  const TemporaryFolder folder;
  const auto upright = folder / "upright.mp4";
  const auto turned = folder / "turned.mp4";
  TestRecording{.width = 256, .height = 128, .frames = 3}.write(upright);
  // A quarter turn clockwise: the matrix in the track's header, in which only a and d are set as written.
  auto bytes = AtomicFile::read(upright);
  const std::string identity("\0\1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x40\0\0\0",
                             36);
  const std::string quarter("\0\0\0\0\0\1\0\0\0\0\0\0\xFF\xFF\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x40\0\0\0",
                            36);
  const auto header = bytes.find("tkhd", bytes.rfind("moov"));
  const auto matrix = bytes.find(identity, header);
  ASSERT_NE(matrix, std::string::npos);
  AtomicFile::write(turned, bytes.replace(matrix, 36, quarter));
  EXPECT_EQ(AssetProbe::probe(turned).tracks[0].displaySize, (Size{128, 256}));
  EXPECT_EQ(AssetProbe::probe(turned).tracks[0].naturalSize, (Size{256, 128}));

  const auto straight = FrameGrabber::grab(upright, MediaTime::zero()).picture;
  const auto sideways = FrameGrabber::grab(turned, MediaTime::zero()).picture;
  ASSERT_EQ(sideways->width, 128);
  ASSERT_EQ(sideways->height, 256);
  for (int y = 0; y < 128; y += 5)
    for (int x = 0; x < 256; x += 5)
      for (int channel = 0; channel < 3; ++channel)
        EXPECT_EQ(pixel(*straight, x, y)[channel], pixel(*sideways, 127 - y, x)[channel]);

  const auto small = FrameGrabber::grab(turned, MediaTime::zero(), {.maximumSide = 64}).picture;
  EXPECT_EQ(small->width, 32);
  EXPECT_EQ(small->height, 64);
}

TEST(FrameGrabber, ShowsTheColorsThatWereRecorded) {
  const TemporaryFolder folder;
  const std::array<std::array<int, 3>, 8> colors{{{255, 255, 255},
                                                  {0, 0, 0},
                                                  {255, 0, 0},
                                                  {0, 255, 0},
                                                  {0, 0, 255},
                                                  {40, 120, 220},
                                                  {200, 30, 90},
                                                  {128, 128, 128}}};
  const auto original = std::make_shared<PixelBuffer>(*StampedFrames::moving(256, 64, 0));
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 256; ++x)
      std::copy_n(colors[static_cast<std::size_t>(x / 32)].begin(), 3,
                  original->planes[0].data + y * 1024 + 4 * x);

  AssetWriter writer(folder / "a.mp4", MediaContainer::mp4, {3, 2});
  const auto video = writer.addVideo({256, 64, 30, ColorTagging::p3D65Rec709});
  ASSERT_TRUE(writer.startWriting());
  writer.startSession(MediaTime::zero());
  ASSERT_TRUE(writer.append(video, original, MediaTime::zero()));
  runBlocking(writer.finishWriting());
  const auto jpeg = JPEGImage::encode(*original, 95);
  AtomicFile::write(folder / "a.jpg", {reinterpret_cast<const char*>(jpeg.data()), jpeg.size()});

  for (const char* name : {"a.mp4", "a.jpg"}) {
    const auto picture = FrameGrabber::grab(folder / name, MediaTime::zero()).picture;
    ASSERT_EQ(picture->width, 256);
    for (std::size_t color = 0; color < colors.size(); ++color)
      for (std::size_t channel = 0; channel < 3; ++channel)
        EXPECT_NEAR(pixel(*picture, static_cast<int>(color) * 32 + 16, 40)[channel], colors[color][channel],
                    5)
            << name << ", color " << color;
  }
}

}  // namespace
}  // namespace quillant
