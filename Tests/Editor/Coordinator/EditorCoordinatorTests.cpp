#include <asio/io_context.hpp>
#include <future>
#include <gmock/gmock.h>
#include <set>

#include "CaptureEngine/Telemetry/CursorTelemetryCodec.h"
#include "Core/AtomicFile.h"
#include "Core/JSON.h"
#include "Core/SHA256.h"
#include "Editor/Coordinator/EditorCoordinator.h"
#include "Editor/Coordinator/EditorError.h"
#include "Editor/Export/VideoExportRendererError.h"
#include "Editor/Project/BackgroundPresets.h"
#include "Tests/Support/Media/DecodedMedia.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

namespace {

/// A thread of its own for the coordinator: the test's.
class EditorCoordinatorTest : public testing::Test {
 protected:
  template <class T>
  T run(Task<T> task) {
    loop.restart();
    std::promise<T> promise;
    if constexpr (std::is_void_v<T>)
      asio::co_spawn(loop, std::move(task), [&](std::exception_ptr error) {
        error ? promise.set_exception(error) : promise.set_value();
      });
    else
      asio::co_spawn(loop, std::move(task), [&](std::exception_ptr error, T value) {
        error ? promise.set_exception(error) : promise.set_value(std::move(value));
      });
    loop.run();
    return promise.get_future().get();
  }
  std::filesystem::path record(const TestRecording& recording = {.frames = 60}) {
    std::filesystem::remove(video);
    recording.write(video);
    return video;
  }
  void open() { run(coordinator.load({.screenVideoPath = record().string()})); }
  template <class Work>
  static std::string errorOf(const Work& work) {
    try {
      work();
    } catch (const Error& error) {
      return error.description();
    }
    return "";
  }

  asio::io_context loop;
  TemporaryFolder folder;
  std::filesystem::path video = folder / "x.mp4";
  EditorCoordinator coordinator{loop.get_executor(), {}};
};

TEST(SHA256, AgreesWithThePublishedVectors) {
  const auto digest = [](const std::string& text) { return SHA256::hexadecimal(SHA256::of(text)); };
  EXPECT_EQ(digest(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(digest("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(digest(std::string(1'000'000, 'a')),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST_F(EditorCoordinatorTest, FindsWhatBelongsToARecordingAndSaysWhatItCannotDo) {
  EXPECT_EQ(errorOf([&] { coordinator.generateAutoZooms("subtle"); }), "no recording loaded");
  EXPECT_EQ(coordinator.outputDuration(), 0);
  open();
  EXPECT_FALSE(coordinator.recording()->facecam || coordinator.recording()->cursorTelemetry);
  EXPECT_NEAR(coordinator.outputDuration(), 2, 0.001);
  EXPECT_EQ(errorOf([&] { coordinator.generateAutoZooms("x"); }),
            "unknown zoom preset 'x'; available: balanced, subtle, snappy, cinematic, guided");
  EXPECT_EQ(errorOf([&] { coordinator.deleteOutputRange(1.5, 9); }),
            "split range 1.5-9s is invalid for a 2s recording");

  TestRecording{}.write(folder / "x.facecam.mov");
  AtomicFile::write(folder / "x.cursor.json",
                    CursorTelemetryCodec::encode({.width = 192,
                                                  .height = 108,
                                                  .samples = {{.x = 90, .y = 50}},
                                                  .clicks = {{.x = 90, .y = 50, .timestamp = 700}}}));
  run(coordinator.load({.screenVideoPath = video.string()}));
  EXPECT_EQ(coordinator.recording()->facecam, folder / "x.facecam.mov");
  EXPECT_TRUE(coordinator.recordingCameraShows());
  coordinator.changeFacecam([](FacecamSettings& camera) { camera.enabled = false; });
  EXPECT_FALSE(coordinator.recordingCameraShows());
  coordinator.generateAutoZooms("balanced");
  EXPECT_EQ(coordinator.autoZoomCount(), 1U);

  AtomicFile::write(folder / "sound.mp4", "no media");
  EXPECT_NE(errorOf([&] { run(coordinator.load({.screenVideoPath = (folder / "sound.mp4").string()})); }),
            "");
  EXPECT_EQ(coordinator.recording()->screenVideo, video);
}

TEST_F(EditorCoordinatorTest, KeepsTheCameraInStepByWhatItsFileTells) {
  const auto began = MediaTime::nanoseconds(5'000'000'123);
  const auto cameraBegan = began + MediaTime{2, 5};
  record({.frames = 60, .start = began});
  const auto offset = [&](auto&& writeCamera) {
    std::filesystem::remove(folder / "x.facecam.mov");
    writeCamera(folder / "x.facecam.mov");
    run(coordinator.load({.screenVideoPath = video.string()}));
    return coordinator.recording()->facecamOffsetMs;
  };
  TestRecording camera{.frames = 60, .container = MediaContainer::quickTime, .start = cameraBegan};
  EXPECT_EQ(offset([&](const auto& path) { camera.writeUnfinished(path); }), 400) << "killed";
  camera.start = began + MediaTime{3, 1};
  EXPECT_EQ(offset([&](const auto& path) { camera.write(path); }), std::nullopt) << "of another recording";
  camera.start = cameraBegan;
  EXPECT_EQ(offset([&](const auto& path) { camera.write(path); }), 400);

  auto state = coordinator.exportEditorState();
  state.timelineEdits.clipList = std::vector{TimelineClip{.end = 2, .cameraFullScreen = true}};
  state.video->background = TransparentBackground();
  state.video->padding = state.video->borderRadius = state.video->shadow = 0;
  coordinator.applyEditorState(state);
  run(coordinator.exportMP4(folder / "out.mp4", EditorExportQuality::source, false, [](double) {}));
  const auto frames = DecodedMedia::decode(folder / "out.mp4").frames;
  ASSERT_EQ(frames.size(), 60U);
  EXPECT_EQ(frames[6].stamp, 6U) << "the screen's, before the camera has one";
  for (std::size_t i = 13; i < 60; ++i) EXPECT_EQ(frames[i].stamp, i - 12);
}

TEST_F(EditorCoordinatorTest, FingerprintsAreOfTheEditAndNotOfTheRoadToIt) {
  open();
  const auto fresh = coordinator.editFingerprint();
  EXPECT_THAT(fresh, testing::MatchesRegex("[0-9a-f]{64}"));
  coordinator.setSpeed(0.5, 1.5, 1.5);
  coordinator.deleteOutputRange(0.2, 0.4);
  const auto edited = coordinator.editFingerprint();
  EXPECT_NE(edited, fresh);
  auto& driver = coordinator.driver();
  while (driver.history().canUndo()) driver.undo();
  EXPECT_EQ(coordinator.editFingerprint(), fresh);
  while (driver.history().canRedo()) driver.redo();
  EXPECT_EQ(coordinator.editFingerprint(), edited);
  while (driver.history().canUndo()) driver.undo();
  coordinator.setSpeed(0.5, 1.5, 1.5);  // with other identities
  coordinator.deleteOutputRange(0.2, 0.4);
  EXPECT_EQ(coordinator.editFingerprint(), edited);

  const Json saved = coordinator.exportEditorState();
  EditorCoordinator other(loop.get_executor(), {});
  run(other.load({.screenVideoPath = video.string()}));
  other.applyEditorState(JSON::decode<ProjectEditorState>(JSON::parse(JSON::pretty(saved))));
  EXPECT_EQ(other.editFingerprint(), edited);
}

TEST_F(EditorCoordinatorTest, FingerprintsTellEveryFieldThatShows) {
  open();
  using Video = ProjectVideoEditorState;
  using Edits = TimelineEditSnapshot;
  const std::function<void(Video&)> looks[] = {
      [](Video& v) { v.background = BackgroundPresets::gradients()[3]; },
      [](Video& v) { v.padding += 1; },
      [](Video& v) { v.borderRadius += 1; },
      [](Video& v) { v.shadow += 0.1; },
      [](Video& v) { v.backgroundBlur += 1; },
      [](Video& v) { v.inset += 1; },
      [](Video& v) { v.insetColor.red = 1; },
      [](Video& v) { v.insetOpacity = 0.5; },
      [](Video& v) { v.insetBalance.left = 0.2; },
      [](Video& v) { v.insetBalance.top = 0.2; },
      [](Video& v) { v.cropSelection.normalizedRect.width = 0.5; },
      [](Video& v) { v.cursorOverlay.isVisible = false; },
      [](Video& v) { v.cursorOverlay.loops = true; },
      [](Video& v) { v.cursorOverlay.size = 2; },
      [](Video& v) { v.cursorOverlay.smoothing = 1; },
      [](Video& v) { v.cursorOverlay.styleID = "spotlight"; },
      [](Video& v) { v.cursorOverlay.clickEffect = CursorClickEffect::ripple; },
      [](Video& v) { v.cursorOverlay.idleBehavior = CursorIdleBehavior::fadeWhenIdle; },
      [](Video& v) { v.cursorOverlay.motionEffect = CursorMotionEffect::subtleLean; },
      [](Video& v) { v.facecamSettings = FacecamSettings(); },
      [](Video& v) { v.facecamSettings = FacecamSettings{.enabled = false}; },
      [](Video& v) { v.facecamSettings = FacecamSettings{.shape = "rounded"}; },
      [](Video& v) { v.facecamSettings = FacecamSettings{.size = 30}; },
      [](Video& v) { v.facecamSettings = FacecamSettings{.cornerRadius = 3}; },
      [](Video& v) { v.facecamSettings = FacecamSettings{.borderWidth = 9}; },
      [](Video& v) { v.facecamSettings = FacecamSettings{.borderColor = "#000000"}; },
      [](Video& v) { v.facecamSettings = FacecamSettings{.margin = 9}; },
      [](Video& v) { v.facecamSettings = FacecamSettings{.anchor = "top"}; },
  };
  const std::function<void(Edits&)> edits[] = {
      [](Edits& e) {
        e.zoomRegions = std::vector{TimelineZoomRegion{.span = {0, 1}}};
      },
      [](Edits& e) {
        e.zoomRegions = std::vector{TimelineZoomRegion{.span = {0, 1}, .depth = 3}};
      },
      [](Edits& e) {
        e.zoomRegions = std::vector{TimelineZoomRegion{.span = {0, 1}, .focusX = 0}};
      },
      [](Edits& e) {
        e.zoomRegions = std::vector{TimelineZoomRegion{.span = {0, 1}, .softness = 0}};
      },
      [](Edits& e) { e.annotationRegions = std::vector{TimelineAnnotationRegion{.text = "a"}}; },
      [](Edits& e) {
        e.cameraClips = std::vector{TimelineCameraClip{.span = {0, 1}}};
      },
      [](Edits& e) { e.clipList = std::vector{TimelineClip{.start = 1, .end = 2}}; },
      [](Edits& e) { e.clipList = std::vector{TimelineClip{.start = 1, .end = 2, .speed = 2}}; },
      [](Edits& e) { e.clipList = std::vector{TimelineClip{.end = 1, .cameraHidden = true}}; },
      [](Edits& e) { e.audioClips = std::vector{TimelineAudioClip{.source = "a"}}; },
      [](Edits& e) { e.musicClips = std::vector{TimelineAudioClip{.source = "a"}}; },
      [](Edits& e) { e.recordingSound.micVolume = 0.5; },
      [](Edits& e) { e.recordingSound.systemMuted = true; },
      [](Edits& e) { e.setMuted(TimelineMuteRow::music, true); },
      [](Edits& e) { e.captions = TimelineCaptions{.on = true}; },
      [](Edits& e) { e.captions = TimelineCaptions{.on = true, .style = TimelineCaptionStyle::plain}; },
  };
  const auto start = coordinator.exportEditorState();
  std::set<std::string> seen{coordinator.editFingerprint()};
  const auto isNew = [&](const ProjectEditorState& state) {
    coordinator.applyEditorState(state);
    return seen.insert(coordinator.editFingerprint()).second;
  };
  for (std::size_t i = 0; i < std::size(looks); ++i) {
    auto state = start;
    looks[i](*state.video);
    EXPECT_TRUE(isNew(state)) << "look " << i;
  }
  for (std::size_t i = 0; i < std::size(edits); ++i) {
    auto state = start;
    edits[i](state.timelineEdits);
    EXPECT_TRUE(isNew(state)) << "edit " << i;
  }
  auto state = start;
  state.video->padding = std::numeric_limits<double>::quiet_NaN();
  coordinator.applyEditorState(state);
  EXPECT_EQ(coordinator.editFingerprint(), "unhashable");
}

TEST_F(EditorCoordinatorTest, ExportsWhatIsOpenAndMakesItsPoster) {
  struct Missing : CaptionTargets {
    Task<std::vector<std::string>> missing(TimelineEditSnapshot) override {
      std::vector<std::string> names{name};
      co_return names;
    }
    std::string name = "The talk";
  };
  EditorCoordinator strict(loop.get_executor(), {.captions = std::make_shared<Missing>()});
  run(strict.load({.screenVideoPath = record().string()}));
  const auto target = folder / "out.mp4";
  using Quality = EditorExportQuality;
  EXPECT_EQ(
      errorOf([&] { run(strict.exportMP4(target, Quality::source, true, [](double) {})); }),
      "Captions for “The talk” aren't ready yet. Wait for them in the Captions tab, or turn captions off.");

  open();
  coordinator.deleteOutputRange(0.5, 1);
  const auto result = run(coordinator.exportMP4(target, Quality::source, false, [](double) {}));
  EXPECT_EQ(result, (VideoExportResult{.didPassthrough = false, .outputSize = {192, 108}}));
  EXPECT_EQ(DecodedMedia::decode(target).frames.size(), 45U);

  // Cancelled as soon as it has begun: by its first progress, from the thread that the coordinator lives on.
  const auto cancelling = [&](double) { asio::post(loop, [&] { coordinator.cancelExport(); }); };
  record({.frames = 600});
  run(coordinator.load({.screenVideoPath = video.string()}));
  EXPECT_EQ(errorOf([&] { run(coordinator.exportMP4(folder / "b.mp4", Quality::p1080, false, cancelling)); }),
            "The export was cancelled.");
  EXPECT_FALSE(std::filesystem::exists(folder / "b.mp4"));

  run(coordinator.writeSharePoster(folder / "poster.jpg", 96));
  EXPECT_TRUE(AtomicFile::read(folder / "poster.jpg").starts_with("\xff\xd8\xff"));
}

}  // namespace

}  // namespace quillant
