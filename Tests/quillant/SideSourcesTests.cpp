#include <algorithm>
#include <cmath>
#include <fstream>
#include <future>
#include <gmock/gmock.h>

#include "CaptureEngine/RecordingCoordinator.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/Media/DecodedMedia.h"
#include "Tests/Support/SoundServer.h"
#include "Tests/quillant/RecordingFixture.h"
#include "quillant/PlatformServices.h"

namespace quillant {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;

const std::vector<std::string> allSources{"--mic", "--system-audio", "--facecam"};

/// A sound server and a camera that are made up beside the screen.
class SideSourcesTest : public RecordingFixture {
 protected:
  void SetUp() override {
    RecordingFixture::SetUp();
    if (IsSkipped()) return;
    if (!SoundServer::isAvailable()) GTEST_SKIP() << "no pulseaudio";
    server.emplace();
    server->enter();
    useCamera("lavfi:testsrc2=size=320x240:rate=30");
    move();
  }
  static double loudest(const DecodedMedia::Sound& sound) {
    return std::abs(
        *std::ranges::max_element(sound.samples, {}, [](float sample) { return std::abs(sample); }));
  }

  std::string facecam = (folder / "x.facecam.mov").string();
  std::string cursor = (folder / "x.cursor.json").string();
  std::optional<SoundServer> server;
};

TEST_F(SideSourcesTest, RecordsEachIntoItsPlace) {
  const auto voice = server->playTone("micfeed");
  const auto result = record("4", allSources).wait();
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_THAT(result.output, testing::MatchesRegex(
                                 "quillant: recorded " + video + "\nquillant: facecam " + facecam +
                                 " \\(offset [0-9]+ ms\\)\nquillant: telemetry " + cursor +
                                 "\nquillant: clicks from system events; 0 shorter than one sample gap\n"));
  EXPECT_FALSE(fs::exists(folder / "x.recording"));

  const auto screen = DecodedMedia::decode(video);
  EXPECT_THAT(screen.errors, IsEmpty());
  ASSERT_EQ(screen.sounds.size(), 2U);
  EXPECT_EQ(screen.sounds[0].channels, 1);
  EXPECT_EQ(screen.sounds[1].channels, 2);
  EXPECT_GT(loudest(screen.sounds[0]), 0.3);
  EXPECT_LT(loudest(screen.sounds[1]), 0.01);  // the microphone is not in it
  for (const auto& sound : screen.sounds)
    EXPECT_NEAR(static_cast<double>(sound.samples.size()) / sound.sampleRate, screen.duration.seconds(), 0.5);

  const auto camera = DecodedMedia::decode(facecam);
  EXPECT_THAT(camera.errors, IsEmpty());
  EXPECT_GT(camera.frames.size(), 30U);
  EXPECT_NEAR(camera.duration.seconds(), screen.duration.seconds(), 1);
}

TEST_F(SideSourcesTest, LeavesWhatPlaysInEachFileWhenItIsKilled) {
  const auto voice = server->playTone("micfeed");
  auto recording = record("60", allSources);
  EXPECT_TRUE(eventually([&] { return isLarger(facecam, 300'000); }));  // several fragments
  recording.kill();
  EXPECT_EQ(recording.wait().exitCode, -SIGKILL);
  EXPECT_TRUE(fs::exists(folder / "x.recording"));
  for (const auto& file : {video, facecam}) {
    const auto media = DecodedMedia::decode(file);
    EXPECT_THAT(media.errors, IsEmpty()) << file;
    EXPECT_GT(media.frames.size(), 5U) << file;
    EXPECT_EQ(media.sounds.size(), file == video ? 2U : 0U);
    for (const auto& sound : media.sounds) EXPECT_GT(sound.samples.size(), 48'000U);
  }
}

TEST_F(SideSourcesTest, LeavesNothingWhenItIsDiscarded) {
  ::setenv("DISPLAY", display->name().c_str(), 1);
  PlatformServices services;
  const auto coordinator = RecordingCoordinator::make(services.captureServices());
  auto outcome = std::async(std::launch::async, [&] {
    return runBlocking(coordinator->record(
        {.options = {.outputURL = video, .mic = true, .systemAudio = true, .facecam = true},
         .duration = 60}));
  });
  EXPECT_TRUE(eventually([&] { return isLarger(facecam, 10'000) && isLarger(video, 10'000); }));
  runBlocking(coordinator->discard());
  EXPECT_TRUE(std::holds_alternative<RecordingCoordinator::Discarded>(outcome.get()));
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(SideSourcesTest, WarnsOfWhatGaveNothingAndRecordsTheRest) {
  useCamera("lavfi:testsrc2=size=320x240:rate=30,setpts=PTS+3600/TB");
  const auto voice = server->playTone("micfeed");
  server->control({"set-source-mute", "mic", "1"});
  auto recording = record("1.5", allSources);
  EXPECT_TRUE(eventually([&] { return fs::exists(folder / "x.recording"); }));
  fs::create_directory(cursor);
  const auto result = recording.wait();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.output, "quillant: recorded " + video + "\n");
  EXPECT_THAT(result.errors,
              testing::MatchesRegex(
                  "(.*\n)?quillant: warning: facecam produced no frames — camera stream never delivered\n"
                  "quillant: warning: cursor telemetry write failed: output file already exists: " +
                  cursor +
                  " .*\nquillant: warning: no microphone signal detected \\(peak -inf dBFS\\) — mic may be "
                  "muted\n"));
  EXPECT_THAT(DecodedMedia::decode(video).errors, IsEmpty());
}

TEST_F(SideSourcesTest, KeepsRecordingWhenTheSoundServerGoes) {
  auto recording = record("4", allSources);
  EXPECT_TRUE(eventually([&] { return isLarger(video, 20'000); }));
  server->kill();
  const auto result = recording.wait();
  EXPECT_EQ(result.exitCode, 0);
  for (const auto* source : {"microphone", "system audio"})
    EXPECT_THAT(result.errors, HasSubstr("quillant: warning: " + std::string(source) +
                                         " stopped during the recording — the sound server went away\n"));
  const auto screen = DecodedMedia::decode(video);
  EXPECT_THAT(screen.errors, IsEmpty());
  EXPECT_GT(screen.duration.seconds(), 3);
}

TEST_F(SideSourcesTest, RefusesToStartWithoutWhatWasAskedFor) {
  server.reset();
  useCamera("none:");
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
      {{"--mic"}, "no microphone device available"},
      {{"--mic-device", "any"}, "no microphone device available"},
      {{"--system-audio"}, "system audio cannot be recorded: no sound server answers: Connection refused"},
      {{"--facecam"}, "no camera device available"}};
  for (const auto& [words, reason] : cases) {
    const auto result = record("2", words).wait();
    EXPECT_EQ(result.exitCode, 77);
    EXPECT_EQ(result.errors, "quillant: could not start recording: " + reason + "\n");
    fs::remove(video);
  }
}

TEST_F(SideSourcesTest, RefusesByNameAFileThatIsInTheWay) {
  for (const auto& inTheWay : {facecam, cursor}) {
    std::ofstream(inTheWay) << "an earlier recording's";
    const auto result = record("2", allSources).wait();
    EXPECT_EQ(result.exitCode, 77);
    EXPECT_EQ(result.errors, "quillant: could not start recording: output file already exists: " + inTheWay +
                                 " — refusing to overwrite (never lose a recording)\n");
    EXPECT_EQ(AtomicFile::read(inTheWay), "an earlier recording's");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 1);
    fs::remove(inTheWay);
  }
}

}  // namespace

}  // namespace quillant
