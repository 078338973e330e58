#include <fstream>
#include <gmock/gmock.h>
#include <set>

#include "CaptureEngine/CaptureTarget.h"
#include "CaptureEngine/RecordingFiles.h"
#include "CaptureEngine/ScreenCapturer.h"
#include "CaptureEngine/Telemetry/CursorTelemetryCodec.h"
#include "Core/AtomicFile.h"
#include "Core/HostClock.h"
#include "MediaKit/Reading/AssetProbe.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/Media/StampedFrames.h"
#include "Tests/Support/ScriptedSession.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

namespace {

using testing::ElementsAre;

/// Every service of a session at once. What happens goes into one journal.
struct ScriptedMachine : ScreenService, SoundService, CameraService {
  /// Any of its sources.
  struct Source : StreamControlling, SoundStream, FacecamCapturing, ClickEventSource {
    Source(ScriptedMachine& owner, std::string text) : machine(owner), name(std::move(text)) {
      machine.failAt(name + " is made");
    }
    Task<void> startCapture() override {
      start();
      co_return;
    }
    Task<void> stopCapture() override {
      stop();
      if (machine.stopError) std::rethrow_exception(machine.stopError);
      co_return;
    }
    void start() override {
      machine.failAt(name + " starts");
      machine.journal.push_back(name + " starts");
    }
    bool start(Handler) override {
      start();
      return true;
    }
    void refresh() override { machine.journal.push_back(name + " refreshes"); }
    void stop() override { end(name + " stops"); }
    /// What the machine throws, it throws once a step: destructors stop, too.
    void end(const std::string& step) {
      machine.journal.push_back(step);
      if (machine.throwsAtTheEnd && machine.thrown.insert(step).second) throw std::bad_alloc();
    }
    Task<void> finish() override {
      end(name + " closes");
      if (machine.cameraError) std::rethrow_exception(machine.cameraError);
      co_return;
    }
    MediaTime startTime() override { return machine.cameraStart; }
    std::uint64_t frameCount() override { return machine.cameraFrames; }
    std::vector<std::string> warnings() override {
      if (machine.throwsAtTheEnd) throw std::bad_alloc();
      if (machine.keepsGoing) return {};
      return {name + " went away"};
    }

    ScriptedMachine& machine;
    std::string name;
  };

  struct Session : ScreenSession {
    Session(ScriptedMachine& owner, const CaptureOptions& options)
        : machine(owner), chosen(CaptureTarget::resolve(options, owner.content()).source()) {}
    const RecordedSource& source() const override { return chosen; }
    std::unique_ptr<StreamControlling> makeStream(const StreamConfiguration& asked, SerialQueue& queue,
                                                  StreamCallbacks given) override {
      machine.configuration = asked;
      machine.sampleQueue = &queue;
      machine.screen = std::move(given);
      return std::make_unique<Source>(machine, "screen");
    }
    CursorTrack::Snapshot pointer() override { return {{6, 5}, false, false}; }
    ClickEventSource* clickEvents() override { return &clicks.emplace(machine, "pointer"); }

    ScriptedMachine& machine;
    RecordedSource chosen;
    std::optional<Source> clicks;
  };
  ShareableContent content() override {
    if (displays.empty()) throw ScreenError(ScreenError::Kind::unavailable, "no server");
    return {.displays = displays, .windows = {{.id = 9, .frame = {10, 20, 31, 21}}}};
  }
  Task<std::unique_ptr<ScreenSession>> openSession(CaptureOptions options) override {
    co_return std::make_unique<Session>(*this, options);
  }
  Task<bool> requestMicrophoneAccess() override { co_return isAllowed; }
  std::unique_ptr<SoundStream> makeMicrophone(const std::optional<std::string>&,
                                              BufferCallback given) override {
    onMicrophone = std::move(given);
    return std::make_unique<Source>(*this, "mic");
  }
  std::unique_ptr<SoundStream> makeSystemAudio(BufferCallback) override {
    return std::make_unique<Source>(*this, "system");
  }
  Task<bool> requestAccess() override { co_return isAllowed; }
  std::unique_ptr<FacecamCapturing> makeFacecam(const std::filesystem::path& url, std::shared_ptr<PauseClock>,
                                                FailureCallback given) override {
    const auto marker = url.parent_path() / "x.recording";
    markerWhenMade = std::filesystem::exists(marker) ? AtomicFile::read(marker) : "";
    onCameraFailure = std::move(given);
    auto made = std::make_unique<Source>(*this, "camera");
    std::ofstream(url) << "camera";
    return made;
  }

  void failAt(const std::string& step) const {
    if (step == failingStep) throw ScriptedError(step);
  }
  void deliverFrame(MediaTime time) {
    sampleQueue->sync(
        [&] { screen.onFrame(StampedFrames::moving(configuration.width, configuration.height, 9), time); });
  }

  std::vector<std::string> journal;
  std::vector<DisplayInfo> displays{
      {.id = 1, .frame = {0, 0, 128, 48}, .pixelWidth = 128, .pixelHeight = 48},
      {.id = 2, .frame = {128, 0, 64, 24}, .scale = 2, .pixelWidth = 129, .pixelHeight = 49, .isMain = true}};
  std::string failingStep;
  bool isAllowed = true;
  bool keepsGoing = true;
  bool throwsAtTheEnd = false;
  std::set<std::string> thrown;
  std::exception_ptr stopError;
  std::exception_ptr cameraError;
  MediaTime cameraStart = MediaTime::invalid();
  std::uint64_t cameraFrames = 0;
  // What the session gave.
  StreamConfiguration configuration;
  SerialQueue* sampleQueue = nullptr;
  StreamCallbacks screen;
  BufferCallback onMicrophone;
  FailureCallback onCameraFailure;
  std::string markerWhenMade;
};

class ScreenCapturerTest : public testing::Test {
 protected:
  std::unique_ptr<ScreenCapturer> make(CaptureOptions options) {
    options.outputURL = video;
    const CaptureServices services{.screen = &machine, .sound = &machine, .camera = &machine};
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
  std::filesystem::path marker = RecordingFiles::marker(video);
  std::filesystem::path facecam = RecordingFiles::facecam(video);
  std::filesystem::path cursor = RecordingFiles::cursorTelemetry(video);
  ScriptedMachine machine;
  std::vector<std::string> failures;
};

TEST_F(ScreenCapturerTest, StartsAndStopsEverySourceInOrderAndLeavesItsFiles) {
  std::ofstream(marker) << "stale";
  const auto capturer = make({.mic = true, .systemAudio = true, .facecam = true});
  EXPECT_TRUE(std::filesystem::exists(video));
  EXPECT_EQ(machine.markerWhenMade, "stale");  // it is overwritten, once all the files are there
  EXPECT_NE(AtomicFile::read(marker), "stale");
  EXPECT_TRUE(machine.journal.empty());

  runBlocking(capturer->start());
  const auto begin = HostClock::now();
  machine.deliverFrame(begin);
  machine.cameraFrames = 3;
  machine.cameraStart = begin + MediaTime{-7'500'000, 1'000'000'000};
  machine.onMicrophone({.time = begin, .samples = std::vector<float>(480, -0.5F)});
  ASSERT_TRUE(eventually([&] { return HostClock::now() - begin > MediaTime(1, 30); }));
  capturer->pauseClock().pause(HostClock::now());
  capturer->pauseClock().resume(HostClock::now());
  const auto [artifacts, stopError] = stop(*capturer);

  EXPECT_THAT(machine.journal, ElementsAre("screen starts", "system starts", "mic starts", "camera starts",
                                           "pointer starts", "screen refreshes", "pointer stops", "mic stops",
                                           "camera stops", "screen stops", "system stops", "camera closes"));
  EXPECT_EQ(stopError, nullptr);
  const RecordingArtifacts expected{.screenVideo = video,
                                    .facecam = facecam,
                                    .facecamOffsetMs = -8,  // ties go away from zero
                                    .cursorTelemetry = cursor,
                                    .clickDiagnostics = ClickDiagnostics{.fromSystemEvents = true}};
  EXPECT_EQ(artifacts, expected) << testing::PrintToString(artifacts.warnings);
  EXPECT_FALSE(std::filesystem::exists(marker));
  const auto track = CursorTelemetryCodec::decode(AtomicFile::read(cursor));
  EXPECT_EQ(track.width, 64);
  ASSERT_FALSE(track.samples.empty());
  EXPECT_EQ(track.samples[0].x, 6);
}

TEST_F(ScreenCapturerTest, AsksTheStreamForThePicturesOfItsTarget) {
  const auto expect = [&](const CaptureOptions& options, const StreamConfiguration& asked) {
    make(options);
    EXPECT_EQ(machine.configuration, asked) << asked.width << " by " << asked.height;
    std::filesystem::remove(video);
  };
  expect({}, {.width = 128, .height = 48});
  expect({.displayID = 1, .frameRate = 60}, {.width = 128, .height = 48, .minimumFrameInterval = {1, 60}});
  expect({.displayID = 1, .area = CaptureArea{4, 8, 21, 20}, .frameRate = 0},
         {.width = 20, .height = 20, .minimumFrameInterval = {1, 1}});
  expect({.windowID = 9}, {.width = 30, .height = 20});
}

TEST_F(ScreenCapturerTest, SaysWhyItCannotStart) {
  EXPECT_EQ(whyNot({.displayID = 5}), "display 5 not found; available: [1, 2]");
  EXPECT_EQ(
      whyNot({.windowID = 8}),
      "window 8 is no longer on screen — it was closed or hidden between picking it and pressing Record");
  machine.isAllowed = false;
  EXPECT_EQ(whyNot({.mic = true}), "microphone access denied (Settings → Privacy & Security → Microphone)");
  EXPECT_EQ(whyNot({.facecam = true}), "camera access denied (Settings → Privacy & Security → Camera)");
  machine.displays.clear();
  EXPECT_THAT(whyNot({}), testing::EndsWith("Screen Recording): no server"));
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));  // nothing was created on the way
}

TEST_F(ScreenCapturerTest, RefusesToOverwriteOnlyWhatItWouldWrite) {
  const auto expectRefusal = [&](const std::filesystem::path& file, const CaptureOptions& refused,
                                 const CaptureOptions& accepted) {
    std::ofstream(file) << "an earlier recording's";
    EXPECT_EQ(whyNot(refused), "output file already exists: " + file.string() +
                                   " — refusing to overwrite (never lose a recording)");
    EXPECT_EQ(whyNot(accepted), "made");
    std::filesystem::remove(file);
    std::filesystem::remove(video);
  };
  expectRefusal(cursor, {}, {.telemetry = false});
  expectRefusal(facecam, {.facecam = true}, {});
  std::filesystem::create_symlink(folder / "nowhere", video);
  EXPECT_THAT(whyNot({}), testing::HasSubstr("output file already exists"));
  std::filesystem::remove(video);
  AtomicFile::write(marker, R"({"pid": 1, "startedAt": 0})");  // of x.mov, say
  EXPECT_EQ(whyNot({}), "process 1 is recording under this name — choose another, or remove " +
                            marker.string() + " if it is not");
  AtomicFile::write(marker, R"({"pid": 2147483647, "startedAt": 0})");  // nobody has this number
  EXPECT_EQ(whyNot({}), "made");
  std::filesystem::remove(video);
  std::filesystem::remove(marker);
  std::filesystem::create_directory(marker);  // nothing records without its marker
  EXPECT_THAT(whyNot({}), testing::HasSubstr("could not write " + marker.string()));
}

TEST_F(ScreenCapturerTest, LeavesWhatExistedWhenAStepFailsAndBlocksNoOtherStart) {
  using Files = std::set<std::filesystem::path>;
  const auto start = [&](const std::string& failingStep) {
    machine.failingStep = failingStep;
    try {
      runBlocking(make({.mic = true, .systemAudio = true, .facecam = true})->start());
      return std::string();
    } catch (const Error& error) {
      return error.description();
    }
  };
  const auto expectLeft = [&](const std::string& failingStep, const Files& expected) {
    EXPECT_EQ(start(failingStep), failingStep);
    Files files;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) files.insert(entry.path());
    EXPECT_EQ(files, expected) << failingStep;
    for (const auto& file : files) std::filesystem::remove(file);
    EXPECT_EQ(start(""), "");
    for (const auto& file : {video, facecam, marker}) std::filesystem::remove(file);
  };
  for (const auto* source : {"screen", "system", "mic", "camera"}) {
    expectLeft(source + std::string(" is made"), {video});
    expectLeft(source + std::string(" starts"), {video, facecam, marker});
  }
  expectLeft("pointer is made", {video, facecam});
}

TEST_F(ScreenCapturerTest, WarnsOfSourcesThatGaveNothing) {
  const auto expectWarning = [&](std::optional<float> level, const std::string& warning) {
    const auto capturer = make({.mic = true, .facecam = true});
    runBlocking(capturer->start());
    for (int buffer = 0; level && buffer < 1000; ++buffer)
      machine.onMicrophone({.time = HostClock::now(), .samples = std::vector<float>(48, *level)});
    const auto artifacts = stop(*capturer).artifacts;
    EXPECT_THAT(artifacts.warnings,
                ElementsAre("facecam produced no frames — camera stream never delivered",
                            "no video frames captured — cursor telemetry not written", warning,
                            "microphone was enabled but the recording carries no audio track"));
    EXPECT_FALSE(artifacts.facecam || artifacts.cursorTelemetry || artifacts.clickDiagnostics);
    for (const auto& file : {video, facecam}) std::filesystem::remove(file);
  };
  expectWarning(std::nullopt, "microphone produced no audio — check input device");
  expectWarning(0, "no microphone signal detected (peak -inf dBFS) — mic may be muted");
  expectWarning(0.001F, "no microphone signal detected (peak -60.0 dBFS) — mic may be muted");
}

TEST_F(ScreenCapturerTest, KeepsTheRecordingWhenWhatIsBesideItFails) {
  machine.cameraError = scriptedError("no space");
  machine.cameraFrames = 3;
  machine.keepsGoing = false;
  const auto capturer = make({.mic = true, .systemAudio = true, .facecam = true});
  runBlocking(capturer->start());
  machine.deliverFrame(HostClock::now());
  AtomicFile::write(cursor, "another's");
  const auto [artifacts, stopError] = stop(*capturer);
  EXPECT_EQ(stopError, nullptr);
  EXPECT_THAT(
      artifacts.warnings,
      ElementsAre("facecam finalize failed: no space",
                  testing::StartsWith("cursor telemetry write failed: output file already exists: "),
                  "mic went away", "system went away", "microphone produced no audio — check input device",
                  "microphone was enabled but the recording carries no audio track"));
  EXPECT_FALSE(artifacts.facecam || artifacts.cursorTelemetry);
  EXPECT_EQ(AtomicFile::read(cursor), "another's");
}

TEST_F(ScreenCapturerTest, TakesEveryStepOfTheEndWhateverAnotherThrows) {
  const auto capturer = make({.mic = true, .systemAudio = true, .facecam = true});
  runBlocking(capturer->start());
  machine.deliverFrame(HostClock::now());
  machine.journal.clear();
  machine.throwsAtTheEnd = true;
  const auto [artifacts, stopError] = stop(*capturer);
  EXPECT_THAT(machine.journal, ElementsAre("pointer stops", "mic stops", "camera stops", "screen stops",
                                           "system stops", "camera closes"));
  EXPECT_EQ(describe(stopError), "std::bad_alloc");
  EXPECT_EQ(artifacts.screenVideo, video);
  EXPECT_EQ(artifacts.cursorTelemetry, cursor);
  EXPECT_THAT(artifacts.warnings, testing::Contains("facecam finalize failed: std::bad_alloc"));
  EXPECT_EQ(AssetProbe::probe(video).tracks.size(), 1U);  // it is closed
  EXPECT_FALSE(std::filesystem::exists(marker));
}

TEST_F(ScreenCapturerTest, ReportsTheFirstFailureOnlyAndTheStopErrorBeforeTheWriters) {
  const auto capturer = make({.facecam = true, .telemetry = false});
  runBlocking(capturer->start());
  machine.onCameraFailure(scriptedError("camera lost"));
  machine.sampleQueue->sync([&] { machine.screen.onStopped(scriptedError("screen lost")); });
  machine.sampleQueue->sync([] {});
  EXPECT_THAT(failures, ElementsAre("camera lost"));

  machine.stopError = scriptedError("stop refused");
  EXPECT_EQ(describe(stop(*capturer).stopError), "stop refused");
  EXPECT_FALSE(std::filesystem::exists(marker));
}

}  // namespace

}  // namespace quillant
