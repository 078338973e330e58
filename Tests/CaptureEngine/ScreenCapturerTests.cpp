#include <fstream>
#include <gmock/gmock.h>

#include "CaptureEngine/CaptureError.h"
#include "CaptureEngine/FacecamError.h"
#include "CaptureEngine/MicError.h"
#include "CaptureEngine/RecordingFiles.h"
#include "CaptureEngine/ScreenCapturer.h"
#include "CaptureEngine/SystemAudioError.h"
#include "CaptureEngine/Telemetry/CursorTelemetryCodec.h"
#include "Core/AtomicFile.h"
#include "Core/HostClock.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/Media/StampedFrames.h"
#include "Tests/Support/ScriptedSession.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

namespace {

using testing::ElementsAre;

/// What happened, in order, over all the services of a session.
using Journal = std::vector<std::string>;

struct ScriptedScreen : ScreenService {
  struct Stream : StreamControlling {
    explicit Stream(ScriptedScreen& owner) : screen(owner) {}
    Task<void> startCapture() override {
      screen.journal.emplace_back("screen starts");
      co_return;
    }
    Task<void> stopCapture() override {
      screen.journal.emplace_back("screen stops");
      if (screen.stopError) std::rethrow_exception(screen.stopError);
      co_return;
    }
    ScriptedScreen& screen;
  };

  explicit ScriptedScreen(Journal& entries) : journal(entries) {}
  ShareableContent content() override {
    if (displays.empty()) throw ScreenError(ScreenError::Kind::unavailable, "no server");
    return {.displays = displays, .windows = {{.id = 9, .frame = {10, 20, 31, 21}}}};
  }
  std::unique_ptr<StreamControlling> makeStream(const StreamConfiguration& asked, SerialQueue& queue,
                                                StreamCallbacks given) override {
    configuration = asked;
    sampleQueue = &queue;
    callbacks = std::move(given);
    return std::make_unique<Stream>(*this);
  }
  void deliver(MediaTime time) {
    sampleQueue->sync([&] {
      callbacks.onFrame(StampedFrames::moving(configuration.width, configuration.height, 9), time);
    });
  }

  Journal& journal;
  std::vector<DisplayInfo> displays{
      {.id = 1, .frame = {0, 0, 128, 48}, .pixelWidth = 128, .pixelHeight = 48},
      {.id = 2, .frame = {128, 0, 64, 24}, .scale = 2, .pixelWidth = 129, .pixelHeight = 49, .isMain = true}};
  std::exception_ptr stopError;
  StreamConfiguration configuration;
  SerialQueue* sampleQueue = nullptr;
  StreamCallbacks callbacks;
};

struct ScriptedSound : SoundService {
  struct Stream : SoundStream {
    Stream(ScriptedSound& owner, std::string text) : sound(owner), name(std::move(text)) {}
    void start() override { sound.journal.push_back(name + " starts"); }
    void stop() override { sound.journal.push_back(name + " stops"); }
    std::vector<std::string> warnings() override {
      if (sound.hasServer) return {};
      return {name + " went away"};
    }
    ScriptedSound& sound;
    std::string name;
  };

  explicit ScriptedSound(Journal& entries) : journal(entries) {}
  Task<bool> requestMicrophoneAccess() override { co_return allowed; }
  std::unique_ptr<SoundStream> makeMicrophone(const std::optional<std::string>&,
                                              BufferCallback given) override {
    onMicrophone = std::move(given);
    return std::make_unique<Stream>(*this, "mic");
  }
  std::unique_ptr<SoundStream> makeSystemAudio(BufferCallback) override {
    return std::make_unique<Stream>(*this, "system");
  }

  Journal& journal;
  bool allowed = true;
  bool hasServer = true;
  BufferCallback onMicrophone;
};

struct ScriptedCamera : CameraService {
  struct Facecam : FacecamCapturing {
    explicit Facecam(ScriptedCamera& owner) : camera(owner) {}
    void start() override { camera.journal.emplace_back("camera starts"); }
    void stop() override { camera.journal.emplace_back("camera stops"); }
    Task<void> finish() override {
      camera.journal.emplace_back("camera's file closes");
      if (camera.finishError) std::rethrow_exception(camera.finishError);
      co_return;
    }
    MediaTime startTime() override { return camera.startTime; }
    std::uint64_t frameCount() override { return camera.frames; }
    std::vector<std::string> warnings() override { return {}; }
    ScriptedCamera& camera;
  };

  explicit ScriptedCamera(Journal& entries) : journal(entries) {}
  Task<bool> requestAccess() override { co_return allowed; }
  std::unique_ptr<FacecamCapturing> makeFacecam(const std::filesystem::path& url, std::shared_ptr<PauseClock>,
                                                FailureCallback given) override {
    const auto marker = RecordingFiles::marker(url.parent_path() / "x.mp4");
    markerWhenMade = std::filesystem::exists(marker) ? AtomicFile::read(marker) : "";
    std::ofstream(url) << "camera";
    onFailure = std::move(given);
    return std::make_unique<Facecam>(*this);
  }

  Journal& journal;
  bool allowed = true;
  std::exception_ptr finishError;
  MediaTime startTime = MediaTime::invalid();
  std::uint64_t frames = 0;
  FailureCallback onFailure;
  std::string markerWhenMade;
};

struct ScriptedClickSource : ClickEventSource {
  explicit ScriptedClickSource(Journal& entries) : journal(entries) {}
  bool start(Handlers) override {
    journal.emplace_back("pointer starts");
    return true;
  }
  void stop() override { journal.emplace_back("pointer stops"); }
  Journal& journal;
};

class ScreenCapturerTest : public testing::Test {
 protected:
  std::unique_ptr<ScreenCapturer> make(CaptureOptions options) {
    options.outputURL = video;
    const CaptureServices services{
        .screen = &screen,
        .sound = hasSound ? &sound : nullptr,
        .camera = hasCamera ? &camera : nullptr,
        .pointer =
            [] {
              return CursorTrack::Snapshot{{134, 5}, false, false};
            },
        .makeClickEvents = [this] { return std::make_unique<ScriptedClickSource>(journal); }};
    return runBlocking(ScreenCapturer::make(
        services, options, [this](const std::exception_ptr& error) { failures.push_back(describe(error)); }));
  }
  std::string whyNot(const CaptureOptions& options) {
    try {
      make(options);
      return "made";
    } catch (const Error& error) {
      return error.description();
    }
  }
  static SessionCapturing::Finalized stop(ScreenCapturer& capturer) {
    return runBlocking(capturer.stopAndFinalize());
  }

  TemporaryFolder folder;
  std::filesystem::path video = folder / "x.mp4";
  Journal journal;
  ScriptedScreen screen{journal};
  ScriptedSound sound{journal};
  ScriptedCamera camera{journal};
  bool hasSound = true;
  bool hasCamera = true;
  std::vector<std::string> failures;
};

TEST_F(ScreenCapturerTest, StartsAndStopsEverySourceInOrderAndLeavesItsFiles) {
  const auto marker = RecordingFiles::marker(video);
  std::ofstream(marker) << "stale";
  const auto capturer = make({.mic = true, .systemAudio = true, .facecam = true});
  EXPECT_TRUE(std::filesystem::exists(video));
  EXPECT_EQ(camera.markerWhenMade, "stale");  // it is overwritten, once all the files are there
  EXPECT_NE(AtomicFile::read(marker), "stale");
  EXPECT_TRUE(journal.empty());

  runBlocking(capturer->start());
  const auto begin = HostClock::now();
  screen.deliver(begin);
  camera.frames = 3;
  camera.startTime = begin + MediaTime{-7'500'000, 1'000'000'000};
  sound.onMicrophone({.time = begin, .samples = std::vector<float>(480, -0.5F)});
  ASSERT_TRUE(eventually([&] { return HostClock::now() - begin > MediaTime(1, 30); }));
  const auto [artifacts, stopError] = stop(*capturer);

  EXPECT_THAT(journal, ElementsAre("screen starts", "system starts", "mic starts", "camera starts",
                                   "pointer starts", "pointer stops", "mic stops", "camera stops",
                                   "screen stops", "system stops", "camera's file closes"));
  EXPECT_EQ(stopError, nullptr);
  EXPECT_EQ(artifacts.screenVideo, video);
  EXPECT_EQ(artifacts.facecam, RecordingFiles::facecam(video));
  EXPECT_EQ(artifacts.facecamOffsetMs, -8);  // ties go away from zero
  EXPECT_EQ(artifacts.cursorTelemetry, RecordingFiles::cursorTelemetry(video));
  EXPECT_EQ(artifacts.clickDiagnostics, (ClickDiagnostics{.fromSystemEvents = true}));
  EXPECT_THAT(artifacts.warnings, ElementsAre());
  EXPECT_FALSE(std::filesystem::exists(marker));
  const auto track = CursorTelemetryCodec::decode(AtomicFile::read(*artifacts.cursorTelemetry));
  EXPECT_EQ(track.width, 64);
  ASSERT_FALSE(track.samples.empty());
  EXPECT_EQ(track.samples[0].x, 6);
}

TEST_F(ScreenCapturerTest, AsksTheStreamForThePicturesOfItsTarget) {
  struct Case {
    CaptureOptions options;
    StreamConfiguration asked;
  };
  for (const auto& [options, asked] : {
           Case{{}, {.displayID = 2, .width = 128, .height = 48}},
           Case{{.displayID = 1, .frameRate = 60},
                {.displayID = 1, .width = 128, .height = 48, .minimumFrameInterval = {1, 60}}},
           Case{{.displayID = 1, .area = CaptureArea{4, 8, 21, 20}, .frameRate = 0},
                {.displayID = 1,
                .sourceRect = Rect{4, 20, 20, 20},
                .width = 20,
                .height = 20,
                .minimumFrameInterval = {1, 1}}},
           Case{{.windowID = 9}, {.displayID = 2, .windowID = 9, .width = 30, .height = 20}},
       }) {
    make(options);
    const auto& got = screen.configuration;
    EXPECT_EQ(got.displayID, asked.displayID);
    EXPECT_EQ(got.windowID, asked.windowID);
    EXPECT_EQ(got.sourceRect, asked.sourceRect);
    EXPECT_EQ(got.width, asked.width);
    EXPECT_EQ(got.height, asked.height);
    EXPECT_EQ(got.minimumFrameInterval, asked.minimumFrameInterval);
    EXPECT_EQ(got.queueDepth, 5);
    std::filesystem::remove(video);
  }
}

TEST_F(ScreenCapturerTest, SaysWhyItCannotStart) {
  EXPECT_EQ(whyNot({.displayID = 5}), "display 5 not found; available: [1, 2]");
  EXPECT_EQ(
      whyNot({.windowID = 8}),
      "window 8 is no longer on screen — it was closed or hidden between picking it and pressing Record");
  sound.allowed = camera.allowed = false;
  EXPECT_EQ(whyNot({.mic = true}),
            "microphone access denied (System Settings → Privacy & Security → Microphone)");
  EXPECT_EQ(whyNot({.facecam = true}),
            "camera access denied (System Settings → Privacy & Security → Camera)");
  hasSound = hasCamera = false;
  EXPECT_EQ(whyNot({.mic = true}), "no microphone device available");
  EXPECT_EQ(whyNot({.systemAudio = true}), "system audio cannot be recorded: there is no sound server");
  EXPECT_EQ(whyNot({.facecam = true}), "no camera device available");
  screen.displays.clear();
  EXPECT_EQ(whyNot({}),
            "cannot enumerate displays — Screen Recording permission is likely missing for this process's "
            "responsible app (System Settings → Privacy & Security → Screen Recording): no server");
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));  // nothing was created on the way
}

TEST_F(ScreenCapturerTest, RefusesToOverwriteOnlyWhatItWouldWrite) {
  struct Case {
    std::filesystem::path file;
    CaptureOptions refused;
    CaptureOptions accepted;
  };
  const auto facecam = RecordingFiles::facecam(video);
  const auto cursor = RecordingFiles::cursorTelemetry(video);
  for (const auto& [file, refused, accepted] : {
           Case{cursor, {}, {.telemetry = false}},
           Case{facecam, {.facecam = true}, {}},
       }) {
    std::ofstream(file) << "an earlier recording's";
    EXPECT_EQ(whyNot(refused), "output file already exists: " + file.string() +
                                   " — refusing to overwrite (never lose a recording)");
    EXPECT_EQ(whyNot(accepted), "made");
    std::filesystem::remove(file);
    std::filesystem::remove(video);
  }
  std::filesystem::create_symlink(folder / "nowhere", video);
  EXPECT_THAT(whyNot({}), testing::HasSubstr("output file already exists"));
}

TEST_F(ScreenCapturerTest, RecordsNothingWithoutAMarker) {
  std::filesystem::create_directory(RecordingFiles::marker(video));
  EXPECT_THAT(whyNot({}), testing::HasSubstr("could not write " + RecordingFiles::marker(video).string()));
}

TEST_F(ScreenCapturerTest, WarnsOfSourcesThatGaveNothing) {
  struct Case {
    float level;  ///< Of the microphone; below zero means that it delivers nothing.
    const char* warning;
  };
  for (const auto& [level, warning] : {
           Case{-1, "microphone produced no audio — check input device"},
           Case{0, "no microphone signal detected (peak -inf dBFS) — mic may be muted"},
           Case{0.001F, "no microphone signal detected (peak -60.0 dBFS) — mic may be muted"},
       }) {
    const auto capturer = make({.mic = true, .facecam = true});
    runBlocking(capturer->start());
    for (int buffer = 0; level >= 0 && buffer < 1000; ++buffer)
      sound.onMicrophone({.time = HostClock::now(), .samples = std::vector<float>(48, level)});
    const auto artifacts = stop(*capturer).artifacts;
    EXPECT_THAT(
        artifacts.warnings,
        testing::IsSupersetOf({std::string(warning),
                               std::string("facecam produced no frames — camera stream never delivered"),
                               std::string("no video frames captured — cursor telemetry not written")}));
    EXPECT_EQ(artifacts.facecam, std::nullopt);
    EXPECT_EQ(artifacts.cursorTelemetry, std::nullopt);
    EXPECT_EQ(artifacts.clickDiagnostics, std::nullopt);
    for (const auto& file : {video, RecordingFiles::facecam(video)}) std::filesystem::remove(file);
  }
}

TEST_F(ScreenCapturerTest, KeepsTheRecordingWhenTheSoundEnds) {
  sound.hasServer = false;
  const auto capturer = make({.mic = true, .systemAudio = true, .telemetry = false});
  runBlocking(capturer->start());
  screen.deliver(HostClock::now());
  const auto [artifacts, stopError] = stop(*capturer);
  EXPECT_EQ(stopError, nullptr);
  EXPECT_THAT(
      artifacts.warnings,
      ElementsAre("mic went away", "system went away", "microphone produced no audio — check input device",
                  "microphone was enabled but the recording carries no audio track"));
}

TEST_F(ScreenCapturerTest, KeepsTheRecordingWhenAFileBesideItCannotBeClosed) {
  camera.finishError = scriptedError("no space");
  camera.frames = 3;
  const auto capturer = make({.facecam = true});
  runBlocking(capturer->start());
  screen.deliver(HostClock::now());
  std::filesystem::create_directory(RecordingFiles::cursorTelemetry(video));
  const auto [artifacts, stopError] = stop(*capturer);
  EXPECT_EQ(stopError, nullptr);
  ASSERT_EQ(artifacts.warnings.size(), 2U);
  EXPECT_EQ(artifacts.warnings[0], "facecam finalize failed: no space");
  EXPECT_THAT(artifacts.warnings[1], testing::StartsWith("cursor telemetry write failed: could not write "));
  EXPECT_EQ(artifacts.facecam, std::nullopt);
  EXPECT_EQ(artifacts.cursorTelemetry, std::nullopt);
}

TEST_F(ScreenCapturerTest, ReportsTheFirstFailureOnlyAndTheStopErrorBeforeTheWriters) {
  const auto capturer = make({.facecam = true, .telemetry = false});
  runBlocking(capturer->start());
  camera.onFailure(scriptedError("camera lost"));
  screen.sampleQueue->sync([&] { screen.callbacks.onStopped(scriptedError("screen lost")); });
  screen.sampleQueue->sync([] {});
  EXPECT_THAT(failures, ElementsAre("camera lost"));

  screen.stopError = scriptedError("stop refused");
  EXPECT_EQ(describe(stop(*capturer).stopError), "stop refused");
  EXPECT_FALSE(std::filesystem::exists(RecordingFiles::marker(video)));
}

}  // namespace

}  // namespace quillant
