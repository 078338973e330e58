#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>

#include "Core/AtomicFile.h"
#include "MediaKit/Exporting/MovieFileWriter.h"
#include "MediaKit/Exporting/RepeatedPicture.h"
#include "MediaKit/Exporting/SegmentEncoder.h"
#include "MediaKit/Exporting/StreamCopy.h"
#include "MediaKit/Reading/SoundReader.h"
#include "MediaKit/Writing/H264Encoder.h"
#include "MediaKit/Writing/PictureConverter.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/Media/DecodedMedia.h"
#include "Tests/Support/Media/StampedFrames.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

namespace {

int entries(const std::filesystem::path& folder) {
  return static_cast<int>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

}  // namespace

TEST(MovieFileWriter, MakesAnOrdinaryFileThatAppearsWhole) {
  const TemporaryFolder folder;
  const auto path = folder / "a.mov";
  const VideoInputSettings settings{192, 108, 30, ColorTagging::p3D65Rec709, FileEncoding{}};
  {
    H264Encoder encoder(settings);
    PictureConverter converter(192, 108);
    MovieFileWriter writer(path, MediaContainer::quickTime, settings, encoder.configuration(),
                           MovieSoundSettings{});
    const auto sound = TestRecording::sound(0, 44'100 * 2, 2, 44'100).samples;
    writer.writeSound(std::span(sound).first(2 * 50'001));
    for (int i = 0; i < 60; ++i) {
      const auto picture = converter.convert(*StampedFrames::moving(192, 108, std::uint32_t(i))).picture;
      auto packet = encoder.encode(*picture, i * 3000,
                                   i == 0 ? H264Encoder::Frame::key : H264Encoder::Frame::predicted, 20);
      packet.duration = 3000;
      writer.writePicture(packet);
    }
    writer.writeSound(std::span(sound).subspan(2 * 50'001));
    EXPECT_EQ(writer.soundFrames(), 88'200);
    EXPECT_EQ(entries(folder.path()), 0) << "nothing has a name yet";
    writer.finish();
  }
  EXPECT_EQ(entries(folder.path()), 1);
  const auto bytes = AtomicFile::read(path);
  EXPECT_LT(bytes.find("moov"), bytes.find("mdat")) << "the index is in front";
  const auto media = DecodedMedia::decode(path);
  ASSERT_EQ(media.frames.size(), 60u);
  for (std::size_t i = 0; i < 60; ++i) {
    EXPECT_EQ(media.frames[i].stamp, i);
    EXPECT_NEAR(media.frames[i].time.seconds(), double(i) / 30, 1e-9);
  }
  EXPECT_EQ(media.colors, "smpte432 bt709 bt709 tv, smpte432 bt709 bt709 tv");
  // Sample n is sample n: like itself, and unlike itself a few samples off.
  SoundReader reader(path, 0, {44'100, 1});
  std::vector<float> piece(4000);
  reader.seek(30'000);
  ASSERT_EQ(reader.read(piece), 4000u);
  const auto product = [&](int late) {
    const auto expected = TestRecording::sound(30'000 - late, 4000, 1, 44'100).samples;
    double sum = 0;
    for (std::size_t i = 0; i < piece.size(); ++i) sum += double(piece[i]) * expected[i];
    return sum;
  };
  for (const int late : {-40, -8, 8, 40}) EXPECT_GT(product(0), product(late)) << late;

  {
    MovieFileWriter given_up(path, MediaContainer::mp4, settings, H264Encoder(settings).configuration(), {});
  }
  EXPECT_EQ(AtomicFile::read(path), bytes) << "the older one stays";
  EXPECT_THROW(MovieFileWriter(folder / "nowhere" / "a.mp4", MediaContainer::mp4, settings, {}, {}),
               FileError);
}

// A picture that stands, noise that the rate has no bits for, and its last picture, which stands too.
TEST(SegmentEncoder, RepeatsWhatStandsAndKeepsToTheRate) {
  const TemporaryFolder folder;
  constexpr int width = 320, height = 180, pictures = 120, rate = 4'000'000;
  const VideoInputSettings settings{width, height, 30, ColorTagging::none,
                                    FileEncoding{.quantizer = 20, .maximumBitRate = rate}};
  const RepeatedPicture repeated(settings);
  SegmentEncoder encoder(settings, repeated, pictures);
  PictureConverter converter(width, height);
  MovieFileWriter writer(folder / "a.mp4", MediaContainer::mp4, settings,
                         H264Encoder(settings).configuration(), {});
  EncoderPictureRef shown;
  double filled = rate / 2.0;  // of a decoder's buffer
  for (int i = 0; i < pictures; ++i) {
    const bool moves = i == 0 || (i >= 20 && i < 50);
    if (moves)
      shown = converter
                  .convert(i == 0 ? *StampedFrames::moving(width, height, 0)
                                  : *StampedFrames::noise(width, height, std::uint32_t(i)))
                  .picture;
    PixelBuffer picture{.format = PixelFormat::i420, .width = width, .height = height};
    picture.planes = shown->planes;
    picture.sequence = static_cast<std::uint64_t>(i + 1);
    if (moves) picture.changed = {{0, 0, width, height}};
    const auto packet = encoder.encode(picture, i * 3000, 3000);
    writer.writePicture(packet);
    if ((i > 0 && i < 20) || i >= 110) {
      EXPECT_LT(packet.data.size(), 64u) << i;
    }
    filled -= static_cast<double>(packet.data.size()) * 8;
    EXPECT_GE(filled, 0) << i;
    filled = std::min<double>(filled + rate / 30.0, rate);
  }
  EXPECT_GE(filled, rate / 2.0) << "as the next stretch expects it";
  writer.finish();
  const auto media = DecodedMedia::decode(folder / "a.mp4", DecodedMedia::Keep::pictures);
  EXPECT_TRUE(media.errors.empty());
  ASSERT_EQ(media.frames.size(), std::size_t{pictures});
  for (const int i : {1, 19}) EXPECT_TRUE(media.frames[std::size_t(i)].luma == media.frames[0].luma) << i;
  const auto error = [&](std::size_t frame) {
    double sum = 0;
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x)
        sum += std::abs(shown->planes[0].data[y * shown->planes[0].stride + x] -
                        media.frames[frame].luma[std::size_t(y * width + x)]);
    return sum / (width * height);
  };
  EXPECT_GT(error(49), 4) << "too much for the rate";
  EXPECT_LT(error(pictures - 1), 2) << "a picture that stands becomes fine again";
}

TEST(StreamCopy, KeepsEveryPacketOfEveryTrack) {
  const TemporaryFolder folder;
  TestRecording{.frames = 90, .audioChannels = {1, 2}}.write(folder / "recording.mp4");
  auto bytes = AtomicFile::read(folder / "recording.mp4");
  const std::string usual = "avc1", rare = "avc3";
  for (auto at = bytes.find(usual); at != std::string::npos; at = bytes.find(usual, at))
    bytes.replace(at, rare.size(), rare);
  AtomicFile::write(folder / "recording.mp4", bytes);
  const auto packets = [&](const std::filesystem::path& path) {
    ChildProcess listing(
        {"ffmpeg", "-v", "error", "-i", path.string(), "-map", "0", "-c", "copy", "-f", "framemd5", "-"});
    auto text = listing.readAll();
    EXPECT_EQ(listing.wait(), 0);
    return text.substr(text.rfind("#stream#"));
  };
  double last = 0;
  ASSERT_TRUE(
      StreamCopy::copy(folder / "recording.mp4", folder / "copy.mp4", MediaContainer::mp4, [&](double done) {
        EXPECT_GE(done, last);
        last = done;
        return true;
      }));
  EXPECT_GT(last, 0.9);
  EXPECT_EQ(packets(folder / "copy.mp4"), packets(folder / "recording.mp4"));
  EXPECT_NE(AtomicFile::read(folder / "copy.mp4").find(rare), std::string::npos) << "the codec's own name";
  EXPECT_FALSE(StreamCopy::copy(folder / "recording.mp4", folder / "none.mp4", MediaContainer::mp4,
                                [](double) { return false; }));
  EXPECT_EQ(entries(folder.path()), 2);
}

}  // namespace quillant
