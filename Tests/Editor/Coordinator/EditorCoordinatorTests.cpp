#include <gmock/gmock.h>
#include <set>

#include "CaptureEngine/Telemetry/CursorTelemetryCodec.h"
#include "Core/AtomicFile.h"
#include "Core/JSON.h"
#include "Core/SHA256.h"
#include "Editor/Project/BackgroundPresets.h"
#include "Tests/Editor/Coordinator/CoordinatorFixture.h"
#include "Tests/Support/Media/DecodedMedia.h"

namespace quillant {

namespace {

class EditorCoordinatorTest : public CoordinatorFixture {
 protected:
  std::vector<std::uint8_t> picture(bool burnsCaptions) {
    const auto frame = run(coordinator->composedFrame(1, {}, burnsCaptions));
    const auto& luma = frame->planes[0];
    return {luma.data, luma.data + static_cast<std::ptrdiff_t>(luma.stride) * frame->height};
  }
  std::string poster() {
    run(coordinator->writeSharePoster(folder / "poster.jpg", 96));
    return AtomicFile::read(folder / "poster.jpg");
  }
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
  EXPECT_EQ(errorOf([&] { coordinator->generateAutoZooms("subtle"); }), "no recording loaded");
  EXPECT_EQ(coordinator->outputDuration(), 0);
  open();
  EXPECT_FALSE(coordinator->recording()->facecam || coordinator->recording()->cursorTelemetry);
  EXPECT_NEAR(coordinator->outputDuration(), 2, 0.001);
  EXPECT_EQ(errorOf([&] { coordinator->generateAutoZooms("x"); }),
            "unknown zoom preset 'x'; available: balanced, subtle, snappy, cinematic, guided");
  EXPECT_EQ(errorOf([&] { coordinator->deleteOutputRange(1.5, 9); }),
            "split range 1.5-9s is invalid for a 2s recording");
  EXPECT_NE(errorOf([&] { coordinator->deleteOutputRange(2, 2.04); }), "") << "nothing is there";
  const auto unedited = coordinator->edits();
  EXPECT_EQ(errorOf([&] { coordinator->setSpeed(1, 1.03, 2); }),
            "split range 1-1.03s is invalid for a 2s recording");
  EXPECT_EQ(coordinator->edits(), unedited);
  coordinator->deleteOutputRange(0.5, 1);
  EXPECT_NE(errorOf([&] { coordinator->setSpeed(0.47, 0.53, 2); }), "") << "too little beside the seam";
  coordinator->driver().applySnapshot(unedited);

  TestRecording{}.write(folder / "x.facecam.mov");
  AtomicFile::write(folder / "x.cursor.json",
                    CursorTelemetryCodec::encode({.width = 192,
                                                  .height = 108,
                                                  .samples = {{.x = 90, .y = 50}},
                                                  .clicks = {{.x = 90, .y = 50, .timestamp = 700}}}));
  run(coordinator->load({.screenVideoPath = video.string()}));
  EXPECT_EQ(coordinator->recording()->facecam, folder / "x.facecam.mov");
  EXPECT_TRUE(coordinator->recordingCameraShows());
  coordinator->changeFacecam([](FacecamSettings& camera) { camera.enabled = false; });
  EXPECT_FALSE(coordinator->recordingCameraShows());
  coordinator->generateAutoZooms("balanced");
  EXPECT_EQ(coordinator->autoZoomCount(), 1U);

  AtomicFile::write(folder / "sound.mp4", "no media");
  EXPECT_NE(errorOf([&] { run(coordinator->load({.screenVideoPath = (folder / "sound.mp4").string()})); }),
            "");
  EXPECT_EQ(coordinator->recording()->screenVideo, video);
}

TEST_F(EditorCoordinatorTest, KeepsTheCameraInStepByWhatItsFileTells) {
  const auto began = MediaTime::nanoseconds(5'000'000'123);
  const auto cameraBegan = began + MediaTime{2, 5};
  record({.frames = 60, .start = began});
  const auto offset = [&](auto&& writeCamera) {
    std::filesystem::remove(folder / "x.facecam.mov");
    writeCamera(folder / "x.facecam.mov");
    run(coordinator->load({.screenVideoPath = video.string()}));
    return coordinator->recording()->facecamOffsetMs;
  };
  TestRecording camera{.frames = 60, .container = MediaContainer::quickTime, .start = cameraBegan};
  EXPECT_EQ(offset([&](const auto& path) { camera.writeUnfinished(path); }), 400) << "killed";
  camera.start = began + MediaTime{3, 1};
  EXPECT_EQ(offset([&](const auto& path) { camera.write(path); }), std::nullopt) << "of another recording";
  camera.start = cameraBegan;
  EXPECT_EQ(offset([&](const auto& path) { camera.write(path); }), 400);

  auto state = coordinator->exportEditorState();
  state.timelineEdits.clipList = std::vector{TimelineClip{.end = 2, .cameraFullScreen = true}};
  state.video->background = TransparentBackground();
  state.video->padding = state.video->borderRadius = state.video->shadow = 0;
  coordinator->applyEditorState(state);
  run(coordinator->exportMP4(folder / "out.mp4", EditorExportQuality::source, false, [](double) {}));
  const auto frames = DecodedMedia::decode(folder / "out.mp4").frames;
  ASSERT_EQ(frames.size(), 60U);
  EXPECT_EQ(frames[6].stamp, 6U) << "the screen's, before the camera has one";
  for (std::size_t i = 13; i < 60; ++i) EXPECT_EQ(frames[i].stamp, i - 12);
}

TEST_F(EditorCoordinatorTest, BurnsCaptionsInOnlyWhenAskedTo) {
  open();
  const auto plain = picture(true);
  const auto shared = poster();
  auto state = coordinator->exportEditorState();
  state.timelineEdits.captions =
      TimelineCaptions{.on = true, .transcripts = {{.source = "primary", .words = {{0.5, 1.5, "read"}}}}};
  coordinator->applyEditorState(state);
  EXPECT_TRUE(picture(true) != plain);
  EXPECT_TRUE(picture(false) == plain);
  EXPECT_TRUE(poster() == shared) << "a shared video has its captions beside it";
  coordinator->setCaptionsOn(false);
  EXPECT_TRUE(picture(true) == plain);
}

TEST_F(EditorCoordinatorTest, ShowsTheCameraOfAnAddedClipAsItIsTold) {
  open();
  auto state = coordinator->exportEditorState();
  state.timelineEdits.sources = {{.id = "intro", .fileExtension = "mp4"}};
  state.timelineEdits.clipList = std::vector{TimelineClip{.end = 2, .source = "intro"}};
  std::filesystem::copy(video, folder / "x.source-intro.mp4");
  EXPECT_FALSE(run(coordinator->hasCamera()));
  coordinator->applyEditorState(state);
  EXPECT_FALSE(run(coordinator->hasCamera()));
  const auto without = picture(false);
  TestRecording{.frames = 60}.write(folder / "x.source-intro.facecam.mov");
  EXPECT_TRUE(run(coordinator->hasCamera()));
  EXPECT_TRUE(picture(false) != without);
  coordinator->changeFacecam([](FacecamSettings& camera) { camera.enabled = false; });
  EXPECT_TRUE(picture(false) == without);
}

TEST_F(EditorCoordinatorTest, FingerprintsAreOfTheEditAndNotOfTheRoadToIt) {
  open();
  const auto fresh = coordinator->editFingerprint();
  // Lies beside the links that were shared: where it changes, each of them counts as stale.
  EXPECT_EQ(fresh, "788aad300cc5408df1a217b76cd3278dfd06e1bf1152c6e503b49a9ddc6ae512");
  coordinator->setSpeed(0.5, 1.5, 1.5);
  coordinator->deleteOutputRange(0.2, 0.4);
  const auto edited = coordinator->editFingerprint();
  EXPECT_NE(edited, fresh);
  auto& driver = coordinator->driver();
  while (driver.history().canUndo()) driver.undo();
  EXPECT_EQ(coordinator->editFingerprint(), fresh);
  while (driver.history().canRedo()) driver.redo();
  EXPECT_EQ(coordinator->editFingerprint(), edited);
  while (driver.history().canUndo()) driver.undo();
  coordinator->setSpeed(0.5, 1.5, 1.5);  // with other identities
  coordinator->deleteOutputRange(0.2, 0.4);
  EXPECT_EQ(coordinator->editFingerprint(), edited);

  const Json saved = coordinator->exportEditorState();
  EditorCoordinator other(loop.get_executor(), {});
  run(other.load({.screenVideoPath = video.string()}));
  other.applyEditorState(JSON::decode<ProjectEditorState>(JSON::parse(JSON::pretty(saved))));
  EXPECT_EQ(other.editFingerprint(), edited);
}

/// Edits in which, together, every field is set to something else than its default.
std::vector<ProjectEditorState> everyField() {
  const auto id = UUID::random;
  const TimelineRecordingSound sound{0.4, true, 0.6, true, true};
  const FacecamSettings camera{false, "rounded", 30, 10, 2, "#112233", 3, "top"};
  const TimelineZoomRegion zoom{.id = id(),
                                .span = {1, 2},
                                .depth = 2,
                                .focusX = 0.3,
                                .focusY = 0.4,
                                .mode = TimelineZoomMode::auto_,
                                .animationPreset = TimelineZoomAnimationPreset::snappy,
                                .sourceClickTimestamp = 900,
                                .softness = 0.5,
                                .easing = TimelineZoomEasing::easeOut,
                                .followsCursor = true,
                                .source = "b"};
  TimelineEditSnapshot edits;
  edits.zoomRegions = edits.hiddenAutoZooms = std::vector{zoom};
  edits.annotationRegions = {{id(), {1, 2}, "Press", 0.1, 0.9, 24}};
  edits.cameraClips = {{id(), {0.5, 1.5}, camera}};
  edits.clipList = {{id(), 0.5, 1.5, 1.25, "b", sound, true, true}, {id(), 0.25, 1, 2}};
  edits.sources = {{"b", TimelineSource::Kind::recording, "mov", 40, "Intro"}};
  edits.audioSources = {{"m", TimelineAudioSource::Kind::voiceover, "m4a", "Song"}};
  edits.audioClips = edits.musicClips =
      std::vector{TimelineAudioClip{id(), "m", 0.5, 0.2, 1.4, 1.5, 0.7, true, true}};
  edits.recordingSound = sound;
  edits.mutedRows = {TimelineMuteRow::clips};
  edits.autoZoomsOff = true;
  edits.captions = {
      true,
      TimelineCaptionStyle::outline,
      {{"m", TimelineTranscriptTrack::audio, "fr", std::vector<TimelineCaptionWord>{{0.5, 0.75, "Oui"}}}}};
  ProjectVideoEditorState video{
      .background = BackgroundPresets::gradients()[3],
      .padding = 20,
      .borderRadius = 13,
      .shadow = 0.5,
      .backgroundBlur = 2,
      .inset = 3,
      .insetColor = {0.1, 0.2, 0.3, 0.4},
      .insetOpacity = 0.5,
      .insetBalance = {0.2, 0.3},
      .cropSelection = {{0.1, 0.2, 0.7, 0.6}, VideoCropPresetSize{VideoExportResolution::p720}},
      .facecamSettings = camera};
  video.cursorOverlay = {true,
                         true,
                         2,
                         1,
                         "spotlight",
                         CursorClickEffect::ripple,
                         CursorIdleBehavior::fadeWhenIdle,
                         CursorMotionEffect::subtleLean};
  std::vector<ProjectEditorState> states{{edits, video}};
  edits.clipList.reset();
  edits.trimRegions = {{id(), {0.5, 0.75}}};
  edits.clipSplitTimes = {1.25};
  edits.clipSpeeds = std::map<std::int64_t, double>{{1, 1.5}};
  for (const BackgroundStyle& style :
       {BackgroundStyle(SerializableColor{0.1, 0.2, 0.3, 0.4}),
        BackgroundStyle(GradientPreset{"g", RadialGradient{0.4, 0.6}, {{{0.1, 0.2, 0.3, 0.4}, 0.5}}}),
        BackgroundStyle(WallpaperPreset{"w", "Label", "full", "thumb"})}) {
    video.background = style;
    states.push_back({edits, video});
  }
  return states;
}

/// Another value that the same field may have.
Json another(const Json& value) {
  if (value.is_boolean()) return !value.get<bool>();
  if (value.is_number_integer()) return value.get<int>() + 1;
  if (value.is_number()) return value == 0 ? 0.25 : value.get<double>() * 0.9;
  const std::map<std::string, std::string> names{
      {"auto", "manual"},    {"snappy", "subtle"},  {"easeOut", "smoothstep"},
      {"recording", "file"}, {"voiceover", "file"}, {"outline", "plain"},
      {"audio", "mic"},      {"clips", "music"},    {"spotlight", "system.white"},
      {"p720", "p480"},      {"ripple", "none"},    {"fadeWhenIdle", "alwaysVisible"},
      {"subtleLean", "none"}};
  const auto text = value.get<std::string>();
  return names.contains(text) ? names.at(text) : text + "x";
}

TEST_F(EditorCoordinatorTest, FingerprintsTellEveryFieldAndNoIdentity) {
  open();
  const auto fingerprint = [&](const Json& state) {
    coordinator->applyEditorState(JSON::decode<ProjectEditorState>(state));
    return coordinator->editFingerprint();
  };
  std::set<std::string> seen;
  for (const Json whole : everyField()) {
    EXPECT_TRUE(seen.insert(fingerprint(whole)).second);
    const auto flat = whole.flatten();
    for (const auto& [place, value] : flat.items()) {
      if (value.is_null()) continue;
      SCOPED_TRACE(place);
      auto changed = whole;
      auto& field = changed[Json::json_pointer(place)];
      if (place.ends_with("/id") && UUID::parse(value.get<std::string>())) {
        field = UUID::random().text();
        EXPECT_EQ(fingerprint(changed), fingerprint(whole));
      } else {
        field = another(value);
        EXPECT_TRUE(seen.insert(fingerprint(changed)).second);
      }
    }
  }
  auto state = coordinator->exportEditorState();
  state.video->padding = std::numeric_limits<double>::quiet_NaN();
  coordinator->applyEditorState(state);
  EXPECT_EQ(coordinator->editFingerprint(), "unhashable");
}

TEST_F(EditorCoordinatorTest, ExportsWhatIsOpenAndMakesItsPoster) {
  const auto target = folder / "out.mp4";
  using Quality = EditorExportQuality;
  open();
  coordinator->deleteOutputRange(0.5, 1);
  const auto result = run(coordinator->exportMP4(target, Quality::source, false, [](double) {}));
  EXPECT_EQ(result, (VideoExportResult{.didPassthrough = false, .outputSize = {192, 108}}));
  EXPECT_EQ(DecodedMedia::decode(target).frames.size(), 45U);

  // Cancelled as soon as it has begun: by its first progress, from the thread that the coordinator lives on.
  const auto cancelling = [&](double) { asio::post(loop, [&] { coordinator->cancelExport(); }); };
  record({.frames = 600});
  run(coordinator->load({.screenVideoPath = video.string()}));
  EXPECT_EQ(
      errorOf([&] { run(coordinator->exportMP4(folder / "b.mp4", Quality::p1080, false, cancelling)); }),
      "The export was cancelled.");
  EXPECT_FALSE(std::filesystem::exists(folder / "b.mp4"));

  EXPECT_TRUE(poster().starts_with("\xff\xd8\xff"));
}

}  // namespace

}  // namespace quillant
