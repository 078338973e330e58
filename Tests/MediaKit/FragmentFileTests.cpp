#include <csignal>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <new>

#include "Core/AtomicFile.h"
#include "Core/Error.h"
#include "MediaKit/MediaError.h"
#include "MediaKit/Reading/AssetProbe.h"
#include "MediaKit/Writing/FragmentFile.h"
#include "MediaKit/Writing/H264Encoder.h"
#include "MediaKit/Writing/PictureConverter.h"
#include "Tests/MediaKit/FaultyDisk.h"
#include "Tests/Support/Allocations/Allocations.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/Media/DecodedMedia.h"
#include "Tests/Support/Media/StampedFrames.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

using FaultyDisk::Fault;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int fragments = 3;
constexpr int picturesEach = 4;

/// Whether so many allocations are enough.
bool appends(FragmentFile& file, std::vector<std::uint8_t> fragment, int allocations) {
  const Allocations::Shortage shortage(allocations);
  try {
    file.append(std::move(fragment));
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

/// A file with three whole fragments, as it is when it is about to be closed. For each of them there was too
/// little memory at first.
std::unique_ptr<FragmentFile> writeFragments(const std::filesystem::path& path) {
  const VideoInputSettings settings{192, 108, 30};
  H264Encoder encoder(settings);
  PictureConverter converter(settings.width, settings.height);
  FragmentMuxer muxer(MediaContainer::mp4);
  muxer.addVideo(settings, encoder.configuration());
  auto file = std::make_unique<FragmentFile>(path, muxer.open());
  for (std::uint32_t i = 0; i < fragments * picturesEach; ++i) {
    const auto picture =
        converter.convert(*StampedFrames::moving(settings.width, settings.height, i)).picture;
    auto packet = encoder.encode(*picture, i * 3000, H264Encoder::Frame::predicted, 22);
    packet.duration = 3000;
    muxer.write(0, packet);
    if (i % picturesEach != picturesEach - 1) continue;
    const auto fragment = muxer.closeFragment();
    int allocations = 0;
    while (!appends(*file, fragment, allocations)) ++allocations;
    EXPECT_GE(allocations, 1);
  }
  EXPECT_TRUE(eventually([&] { return file->backlog() == 0; }));
  return file;
}

/// Whether an ordinary player and our own reader find each picture.
void expectPictures(const std::filesystem::path& path) {
  const auto media = DecodedMedia::decode(path);
  EXPECT_THAT(media.errors, IsEmpty());
  EXPECT_EQ(media.frames.size(), std::size_t(fragments * picturesEach));
  EXPECT_EQ(AssetProbe::probe(path).duration, (MediaTime{fragments * picturesEach, 30}));
}

/// Whether all that stands between its type and its index is media data.
bool isOrdinary(const std::filesystem::path& path) {
  return AtomicFile::read(path).find("mdat") < 64;
}

TEST(FragmentFile, KeepsAndTellsWhateverFailsWhileItCloses) {
  const TemporaryFolder folder;
  for (const auto fault : {Fault::fails, Fault::tears}) {
    bool isMet = true;
    int step = 0;
    for (; isMet; ++step) {
      SCOPED_TRACE("step " + std::to_string(step));
      const auto path = folder / std::to_string(2 * step + int(fault)).append(".mp4");
      const auto file = writeFragments(path);
      FaultyDisk::arm(fault, step);
      file->close();
      isMet = FaultyDisk::disarm();
      EXPECT_EQ(file->error(), nullptr);
      EXPECT_EQ(file->warnings().empty(), !isMet);
      expectPictures(path);
      EXPECT_THAT(file->warnings(), Contains(HasSubstr("closing index")).Times(isOrdinary(path) ? 0 : 1));
    }
    EXPECT_GE(step, fault == Fault::fails ? 8 : 5) << "four writes, two syncs and a close";
  }
}

constexpr const char* pathVariable = "QUILLANT_TEST_RECORDING";
constexpr const char* stepVariable = "QUILLANT_TEST_STEP";

/// Run by the test below in a process of its own.
TEST(FragmentFile, DISABLED_ClosesUntilItIsKilled) {
  const auto file = writeFragments(std::getenv(pathVariable));
  FaultyDisk::arm(Fault::kills, std::atoi(std::getenv(stepVariable)));
  file->close();
}

TEST(FragmentFile, KeepsEveryPictureWhereverItIsKilledWhileItCloses) {
  const TemporaryFolder folder;
  int ended = -SIGKILL;
  int step = 0;
  for (; ended == -SIGKILL; ++step) {
    SCOPED_TRACE("step " + std::to_string(step));
    const auto path = folder / std::to_string(step).append(".mp4");
    ChildProcess process({"/proc/self/exe", "--gtest_also_run_disabled_tests",
                          "--gtest_filter=FragmentFile.DISABLED_ClosesUntilItIsKilled"},
                         {{pathVariable, path.string()}, {stepVariable, std::to_string(step)}});
    process.readAll();
    ended = process.wait();
    expectPictures(path);
  }
  EXPECT_EQ(ended, 0);
  EXPECT_GE(step, 8);
}

/// The last write of all is of eight bytes, and a loss of power may keep any of them.
TEST(FragmentFile, KeepsEveryPictureHoweverItsLastWriteIsTorn) {
  const TemporaryFolder folder;
  const auto path = folder / "x.mp4";
  writeFragments(path)->close();
  ASSERT_TRUE(isOrdinary(path));
  const auto whole = AtomicFile::read(path);
  const std::string before{0, 0, 0, 16, 'f', 'r', 'e', 'e'};
  const auto at = whole.find("mdat") - 4;
  for (std::size_t kept = 0; kept < before.size(); ++kept)
    for (const bool fromTheFront : {true, false}) {
      SCOPED_TRACE(testing::Message()
                   << kept << (fromTheFront ? " first" : " last") << " bytes were written");
      auto torn = whole;
      const auto missing = before.size() - kept;
      const auto begin = fromTheFront ? kept : 0;
      torn.replace(at + begin, missing, before, begin, missing);
      AtomicFile::write(path, torn);
      expectPictures(path);
    }
}

TEST(FragmentMuxer, GivesNothingOutBehindAHoleThatAShortageLeft) {
  const VideoInputSettings settings{192, 108, 30};
  FragmentMuxer muxer(MediaContainer::mp4);
  muxer.addVideo(settings, H264Encoder(settings).configuration());
  muxer.open();
  muxer.write(0, {std::vector<std::uint8_t>(10), 0, 3000, true});
  bool fails = false;
  try {
    const Allocations::Shortage shortage(0);
    muxer.closeFragment();
  } catch (const std::exception&) {
    fails = true;
  }
  EXPECT_TRUE(fails);
  const auto goOn = [&] {
    muxer.write(0, {std::vector<std::uint8_t>(10), 3000, 3000, false});
    muxer.closeFragment();
  };
  EXPECT_THROW(goOn(), MediaError);
}

TEST(FragmentFile, TellsInPlainWordsWhatItCouldNotDo) {
  const TemporaryFolder folder;
  auto file = writeFragments(folder / "x.mp4");
  std::filesystem::resize_file(folder / "x.mp4", std::filesystem::file_size(folder / "x.mp4") + 1);
  file->close();
  EXPECT_THAT(file->warnings(),
              ElementsAre("x.mp4 was left without a closing index (another program has changed the file): it "
                          "plays, but some programs open it slowly or refuse it"));
  expectPictures(folder / "x.mp4");

  file = writeFragments(folder / "z.mp4");
  FaultyDisk::arm(Fault::neverSyncs, 0);
  file->close();
  FaultyDisk::disarm();
  EXPECT_THAT(file->warnings(),
              ElementsAre("the disk did not confirm that z.mp4 is stored (Input/output error): check it, and "
                          "keep a copy elsewhere",
                          "z.mp4 was left without a closing index (Input/output error): it plays, but some "
                          "programs open it slowly or refuse it"));
  EXPECT_FALSE(isOrdinary(folder / "z.mp4"));
  expectPictures(folder / "z.mp4");

  file = writeFragments(folder / "y.mp4");
  FaultyDisk::arm(Fault::tears, 0);
  file->append({0, 0, 0, 8, 'f', 'r', 'e', 'e'});
  EXPECT_TRUE(eventually([&] { return file->backlog() == 0; }));
  file->close();
  FaultyDisk::disarm();
  EXPECT_THAT(describe(file->error()), HasSubstr("No space left on device"));
  expectPictures(folder / "y.mp4");
}

}  // namespace
}  // namespace quillant
