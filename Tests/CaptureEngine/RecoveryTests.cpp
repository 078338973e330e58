#include <fstream>
#include <gmock/gmock.h>
#include <unistd.h>

#include "CaptureEngine/CaptureInterruptedModel.h"
#include "CaptureEngine/DiskPressure.h"
#include "CaptureEngine/RecordingFiles.h"
#include "CaptureEngine/RecordingMarker.h"
#include "CaptureEngine/RecoveryPromptBuilder.h"
#include "CaptureEngine/RecoveryResolution.h"
#include "CaptureEngine/RecoveryService.h"
#include "Core/AtomicFile.h"
#include "MediaKit/AssetWriter.h"
#include "Tests/Support/Media/StampedFrames.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

namespace {

using testing::ElementsAre;
namespace fs = std::filesystem;
using Playable = RecoverableRecording::Playable;
using Unsalvageable = RecoverableRecording::Unsalvageable;

constexpr const char* tooEarly =
    "unreadable partial — the recording died before the first fragment flush (~2s), so nothing playable "
    "reached "
    "disk";

class RecoveryTest : public testing::Test {
 protected:
  /// A file of `seconds` seconds with one of the two kinds of track.
  enum class Holds { video, sound };
  void writeMedia(const fs::path& path, int seconds, Holds holds = Holds::video) const {
    AssetWriter writer(path, MediaContainer::mp4, MediaTime{3, 2});
    const auto input =
        holds == Holds::video ? writer.addVideo({.width = 128, .height = 48}) : writer.addAudio({});
    ASSERT_TRUE(writer.startWriting());
    writer.startSession(MediaTime::zero());
    for (int tenth = 0; tenth <= seconds * 10; ++tenth) {
      while (!writer.isReady(input)) ::usleep(1000);
      if (holds == Holds::video)
        writer.append(input, StampedFrames::moving(128, 48, static_cast<std::uint32_t>(tenth)),
                      MediaTime{tenth, 10});
      else
        writer.append(input, {.time = MediaTime{tenth, 10}, .samples = std::vector<float>(4800)});
    }
    writer.markAsFinished(input);
    runBlocking(writer.finishWriting());
  }
  void mark(const char* name, double startedAt) const {
    std::ofstream(folder / name) << R"({"startedAt": )" << startedAt << R"(, "pid": 7})";
  }

  TemporaryFolder folder;
  RecoveryService service{folder.path()};
};

TEST_F(RecoveryTest, JudgesEveryOrphanAndListsTheNewestFirst) {
  writeMedia(folder / "old.mp4", 2);
  mark("old.recording", 100);
  std::ofstream(folder / "old.cursor.json") << "{}";
  writeMedia(folder / "finished.mp4", 1);
  mark("missing.recording", 300);
  std::ofstream(folder / "early.mp4");
  mark("early.recording", 200.5);
  std::ofstream(folder / "early.facecam.mov");
  writeMedia(folder / "sound.mp4", 1, Holds::sound);
  std::ofstream(folder / "sound.recording") << "not JSON";
  mark("other.Recording", 900);

  const auto found = runBlocking(service.sweep());
  ASSERT_EQ(found.size(), 4U);
  const auto expect = [&](const RecoverableRecording& recording, const char* stem,
                          std::optional<Date> started, const RecoverableRecording::Status& status) {
    EXPECT_EQ(recording.screenVideo, folder / (std::string(stem) + ".mp4"));
    EXPECT_EQ(recording.marker, folder / (std::string(stem) + ".recording"));
    EXPECT_EQ(recording.startedAt, started) << stem;
    EXPECT_EQ(recording.status.index(), status.index()) << stem;
    if (std::holds_alternative<Unsalvageable>(status)) {
      EXPECT_EQ(recording.status, status) << stem;
    }
  };
  expect(found[0], "missing", Date{300}, Unsalvageable{"recording file is missing"});
  expect(found[1], "early", Date{200.5}, Unsalvageable{tooEarly});
  expect(found[2], "old", Date{100}, Playable{2});
  expect(found[3], "sound", std::nullopt, Unsalvageable{"no video track in the partial"});
  EXPECT_NEAR(std::get<Playable>(found[2].status).duration, 2, 0.15);
  EXPECT_EQ(found[1].facecam, folder / "early.facecam.mov");
  EXPECT_EQ(found[1].cursorTelemetry, std::nullopt);
  EXPECT_EQ(found[2].cursorTelemetry, folder / "old.cursor.json");

  EXPECT_EQ(runBlocking(service.sweep()), found);  // a sweep changes nothing
  EXPECT_THAT(runBlocking(RecoveryService{folder / "none"}.sweep()), ElementsAre());
}

TEST_F(RecoveryTest, MarksARecordingAndForgetsTheMark) {
  const auto video = folder / "x.mp4";
  RecordingMarker::write(video);
  const auto marker = RecordingMarker::read(folder / "x.recording");
  EXPECT_EQ(marker.pid, ::getpid());
  EXPECT_NEAR(marker.startedAt.secondsSince2001, Date::now().secondsSince2001, 60);
  RecoveryService::removeMarker(video);
  RecoveryService::removeMarker(video);  // gone already
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(RecoveryTest, RemovesTheFilesOfOneRecordingOnly) {
  for (const char* name : {"clip.mp4", "clip.facecam.mov", "clip.cursor.json", "clip.recording",
                           "clip.source-1.mov", "clip2.source-1.mov", "clip2.mp4", "clip.sources"})
    std::ofstream(folder / name) << "data";
  RecoveryService::removeArtifacts(folder / "clip.mp4");
  std::vector<std::string> left;
  for (const auto& entry : fs::directory_iterator(folder.path())) left.push_back(entry.path().filename());
  EXPECT_THAT(left, testing::UnorderedElementsAre("clip2.source-1.mov", "clip2.mp4", "clip.sources"));
}

TEST_F(RecoveryTest, OffersThePlayableOnesAndDeletesOnlyWhatWasConfirmed) {
  for (const char* stem : {"a", "b", "c"}) {
    writeMedia(folder / (std::string(stem) + ".mp4"), 2);
    mark((std::string(stem) + ".recording").c_str(), stem[0]);
  }
  mark("gone.recording", 0);
  const auto items = runBlocking(RecoveryPromptBuilder::items(runBlocking(service.sweep())));
  ASSERT_EQ(items.size(), 3U);
  EXPECT_EQ(items[0].recording.screenVideo, folder / "c.mp4");
  EXPECT_EQ(items[0].startedAt, Date{'c'});
  EXPECT_NEAR(items[0].duration, 2, 0.15);
  EXPECT_EQ(items[0].sizeBytes, static_cast<std::int64_t>(fs::file_size(folder / "c.mp4")));
  EXPECT_EQ(items[0].pixelSize, (Size{128, 48}));
  ASSERT_NE(items[0].poster, nullptr);
  EXPECT_EQ(items[0].poster->width, 128);
  EXPECT_EQ(RecoveryPromptBuilder::fileSize(folder / "none"), std::nullopt);
  EXPECT_EQ(RecoveryPromptBuilder::pixelSize(folder / "gone.recording"), std::nullopt);

  EXPECT_EQ(RecoveryPromptBuilder::defaultPoster(folder / "gone.recording"), nullptr);

  using RecoveryResolution::Confirmation;
  const auto orphans = [&] { return runBlocking(service.sweep()).size(); };
  RecoveryResolution::apply(items, {false, true}, Confirmation::unconfirmed, service);
  EXPECT_EQ(orphans(), 2U);  // "c" comes up again; "b" and, past the flags, "a" are kept
  EXPECT_TRUE(fs::exists(folder / "c.mp4"));
  RecoveryResolution::apply(items, {false, true}, Confirmation::confirmed, service);
  EXPECT_EQ(orphans(), 1U);
  EXPECT_FALSE(fs::exists(folder / "c.mp4"));
  EXPECT_TRUE(fs::exists(folder / "a.mp4"));
  EXPECT_TRUE(fs::exists(folder / "b.mp4"));
}

TEST_F(RecoveryTest, ReadsWhatAnInterruptedRecordingSaved) {
  const auto video = folder / "x.mp4";
  writeMedia(video, 2);
  const auto model = runBlocking(CaptureInterruptedModel::make(FailureCause::diskSpace, video, "1.2 GB"));
  EXPECT_NEAR(model.duration, 2, 0.15);
  EXPECT_EQ(model.sizeBytes, static_cast<std::int64_t>(fs::file_size(video)));
  const auto missing =
      runBlocking(CaptureInterruptedModel::make(FailureCause::unknown, folder / "y.mp4", std::nullopt));
  EXPECT_EQ(missing, CaptureInterruptedModel{});
}

TEST(CaptureInterruptedModelTest, PutsItIntoWords) {
  CaptureInterruptedModel model{.duration = 271.6, .sizeBytes = 1'000'000};
  EXPECT_EQ(model.eyebrow(), "CAUGHT & SAVED");
  EXPECT_EQ(model.headline(), "Recording stopped unexpectedly");
  EXPECT_EQ(
      model.body(),
      "The screen-capture session ended before you stopped it. We saved what we captured — every frame up "
      "to that point is safe on disk.");
  EXPECT_EQ(model.reassurance(), "Every frame before the interruption is intact");
  EXPECT_EQ(model.clock(), "4:32");
  EXPECT_EQ(model.savedUpToLabel(), "Saved everything up to 4:32");
  EXPECT_EQ(model.metaLine(), "4 min 32 sec · 1 MB");
  EXPECT_FALSE(model.showsLowDisk());

  model = {.cause = FailureCause::diskSpace, .duration = 59.4, .lowDiskFreeDescription = "1.2 GB"};
  EXPECT_EQ(model.headline(), "Recording stopped — macOS reclaimed disk space");
  EXPECT_EQ(
      model.body(),
      "macOS freed up storage while you were recording and ended the screen-capture session. That’s out of "
      "our hands — but we saw it happen and wrote everything to disk immediately.");
  EXPECT_EQ(model.metaLine(), "0 min 59 sec");
  EXPECT_TRUE(model.showsLowDisk());
  EXPECT_EQ(
      model.lowDiskLine(),
      "You’re at 1.2 GB free. Clearing a little space keeps macOS from interrupting future recordings.");
  model.duration = 1e300;
  EXPECT_EQ(model.clock(), "150000000000000:00");
}

TEST(DiskPressureTest, TakesLittleSpaceForTheCause) {
  EXPECT_EQ(DiskPressure::classify(2'500'000'000), FailureCause::diskSpace);
  EXPECT_EQ(DiskPressure::classify(2'500'000'001), FailureCause::unknown);
  EXPECT_EQ(DiskPressure::classify(std::nullopt), FailureCause::unknown);
}

TEST(DiskPressureTest, ReadsTheVolumeOfTheNearestFolderThatExists) {
  const TemporaryFolder folder;
  const auto bytes = DiskPressure::availableBytes(folder.path());
  ASSERT_TRUE(bytes);
  const auto later = DiskPressure::availableBytes(folder / "not" / "yet" / "made.mp4");
  ASSERT_TRUE(later);
  // Others write to the disk meanwhile.
  EXPECT_NEAR(static_cast<double>(*later), static_cast<double>(*bytes), 2e9);
  EXPECT_TRUE(DiskPressure::availableBytes("/no/such/folder"));
}

}  // namespace

}  // namespace quillant
