#include <fstream>
#include <gmock/gmock.h>

#include "CaptureEngine/CaptureInterruptedModel.h"
#include "CaptureEngine/DiskPressure.h"
#include "CaptureEngine/RecoveryPromptBuilder.h"
#include "CaptureEngine/RecoveryResolution.h"
#include "CaptureEngine/RecoveryService.h"
#include "MediaKit/Writing/AssetWriter.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

namespace {

using testing::ElementsAre;
namespace fs = std::filesystem;
using Playable = RecoverableRecording::Playable;
using Unsalvageable = RecoverableRecording::Unsalvageable;

constexpr const char* tooEarly =
    "unreadable partial — the recording died before the first fragment flush (~2s), so nothing playable "
    "reached disk";

class RecoveryTest : public testing::Test {
 protected:
  void writeVideo(const fs::path& path) const {
    TestRecording{.width = 128, .height = 48, .frames = 60}.write(path);  // 2 s
  }
  void writeSound(const fs::path& path) const {
    AssetWriter writer(path, MediaContainer::mp4, MediaTime{3, 2});
    const auto input = writer.addAudio({});
    ASSERT_TRUE(writer.startWriting());
    writer.startSession(MediaTime::zero());
    writer.append(input, TestRecording::sound(0, 48'000, 1));
    runBlocking(writer.finishWriting());
  }
  void mark(const char* name, double startedAt) const {
    std::ofstream(folder / name) << R"({"startedAt": )" << startedAt << R"(, "pid": 7})";
  }

  TemporaryFolder folder;
  RecoveryService service{folder.path()};
};

TEST_F(RecoveryTest, JudgesEveryOrphanAndListsTheNewestFirst) {
  writeVideo(folder / "old.mp4");
  mark("old.recording", 100);
  std::ofstream(folder / "old.cursor.json") << "{}";
  writeVideo(folder / "finished.mp4");
  mark("missing.recording", 300);
  std::ofstream(folder / "early.mp4");
  mark("early.recording", 200.5);
  std::ofstream(folder / "early.facecam.mov");
  writeSound(folder / "sound.mp4");
  std::ofstream(folder / "sound.recording") << "not JSON";
  mark("other.Recording", 900);

  const auto found = runBlocking(service.sweep());
  ASSERT_EQ(found.size(), 4U);
  const auto expect = [&](const RecoverableRecording& recording, const char* stem,
                          std::optional<Date> started, const RecoverableRecording::Status& status) {
    EXPECT_EQ(recording.screenVideo, folder / (std::string(stem) + ".mp4"));
    EXPECT_EQ(recording.marker, folder / (std::string(stem) + ".recording"));
    EXPECT_EQ(recording.startedAt, started) << stem;
    EXPECT_EQ(recording.status, status) << stem;
  };
  expect(found[0], "missing", Date{300}, Unsalvageable{"recording file is missing"});
  expect(found[1], "early", Date{200.5}, Unsalvageable{tooEarly});
  expect(found[2], "old", Date{100}, Playable{2});
  expect(found[3], "sound", std::nullopt, Unsalvageable{"no video track in the partial"});
  EXPECT_EQ(found[1].facecam, folder / "early.facecam.mov");
  EXPECT_EQ(found[2].cursorTelemetry, folder / "old.cursor.json");

  EXPECT_EQ(runBlocking(service.sweep()), found);  // a sweep changes nothing
  EXPECT_THAT(runBlocking(RecoveryService{folder / "none"}.sweep()), ElementsAre());
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
    writeVideo(folder / (std::string(stem) + ".mp4"));
    mark((std::string(stem) + ".recording").c_str(), stem[0]);
  }
  mark("gone.recording", 0);
  const auto items = runBlocking(RecoveryPromptBuilder::items(runBlocking(service.sweep())));
  ASSERT_EQ(items.size(), 3U);
  EXPECT_EQ(items[0].startedAt, Date{'c'});
  EXPECT_EQ(items[0].duration, 2);
  EXPECT_EQ(items[0].sizeBytes, static_cast<std::int64_t>(fs::file_size(folder / "c.mp4")));
  EXPECT_EQ(items[0].pixelSize, (Size{128, 48}));
  ASSERT_NE(items[0].poster, nullptr);
  EXPECT_EQ(items[0].poster->width, 128);
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

TEST_F(RecoveryTest, SaysWhatAnInterruptedRecordingSaved) {
  const auto video = folder / "x.mp4";
  writeVideo(video);
  auto model = runBlocking(CaptureInterruptedModel::make(FailureCause::diskSpace, video, "1.2 GB"));
  EXPECT_EQ(model.sizeBytes, static_cast<std::int64_t>(fs::file_size(video)));
  EXPECT_EQ(model.headline(), "Recording stopped — the system reclaimed disk space");
  EXPECT_EQ(model.savedUpToLabel(), "Saved everything up to 0:02");
  EXPECT_EQ(
      model.lowDiskLine(),
      "You’re at 1.2 GB free. Clearing a little space keeps the system from interrupting future recordings.");

  model = runBlocking(CaptureInterruptedModel::make(FailureCause::unknown, folder / "y.mp4", std::nullopt));
  EXPECT_EQ(model, CaptureInterruptedModel{});
  EXPECT_EQ(model.headline(), "Recording stopped unexpectedly");
  EXPECT_EQ(model.metaLine(), "0 min 00 sec");
  model = {.duration = 271.6, .sizeBytes = 1'000'000};
  EXPECT_EQ(model.metaLine(), "4 min 32 sec · 1 MB");
  model.duration = 1e300;
  EXPECT_EQ(model.clock(), "150000000000000:00");
}

TEST(DiskPressureTest, ReadsTheVolumeOfTheNearestFolderThatExists) {
  const TemporaryFolder folder;
  const auto bytes = [](const fs::path& path) {
    return static_cast<double>(DiskPressure::availableBytes(path).value());
  };
  // Others write to the disk meanwhile.
  EXPECT_NEAR(bytes(folder / "not" / "yet" / "made.mp4"), bytes(folder.path()), 2e9);
  EXPECT_TRUE(DiskPressure::availableBytes("/no/such/folder"));
}

}  // namespace

}  // namespace quillant
