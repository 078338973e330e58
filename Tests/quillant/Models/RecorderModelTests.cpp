#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>

#include "Editor/Project/ProjectStore.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/Support/ScriptedSession.h"
#include "Tests/Support/TemporaryFolder.h"
#include "Tests/quillant/Models/MainLoop.h"
#include "quillant/Models/RecorderModel.h"

namespace quillant {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Mode = HUDState::Mode;

/// The user and the desktop, as far as the recorder sees them.
struct ScriptedDesktop : PermissionAsking, RecorderPresenting {
  struct Shown : Presentation {
    explicit Shown(int& count) : count_(++count) {}
    ~Shown() override { --count_; }
    int& count_;
  };

  Task<Permissions> current() override {
    if (whileAsked) whileAsked();
    co_await asio::post(loop.get_executor(), asio::use_awaitable);
    co_return permissions;
  }
  Task<> request(PermissionKind kind) override {
    EXPECT_EQ(kind, PermissionKind::camera);
    permissions.camera = PermissionState::granted;
    co_return;
  }
  Task<std::size_t> ask(Alert alert) override {
    alerts.push_back(alert);
    if (whileAlerted) whileAlerted();
    do co_await sleepFor(std::chrono::milliseconds(1));
    while (holdAlert);
    co_return answer;
  }
  std::unique_ptr<Presentation> show(AreaSelectionOverlayController& controller) override {
    area = &controller;
    return std::make_unique<Shown>(areasShown);
  }
  std::unique_ptr<Presentation> show(CountdownOverlayController& controller) override {
    countdown = &controller;
    return std::make_unique<Shown>(countdownsShown);
  }

  asio::io_context& loop = makeMainLoop();
  Permissions permissions{PermissionState::granted, PermissionState::granted, PermissionState::denied};
  std::function<void()> whileAsked;
  std::vector<Alert> alerts;
  std::function<void()> whileAlerted;
  bool holdAlert = false;
  std::size_t answer = 0;
  AreaSelectionOverlayController* area = nullptr;
  CountdownOverlayController* countdown = nullptr;
  int areasShown = 0;
  int countdownsShown = 0;
};

struct NoCamera : CameraSessionControlling {
  bool isAllowed() override { return true; }
  CameraFormat ensureInput() override { return {2, 2}; }
  bool isRunning() const override { return false; }
  void start() override {}
  void stop() override {}
  void setSink(Sink) override {}
  void setOnRuntimeError(std::function<void()>) override {}
  void setPreferredDevice(std::optional<std::string>) override {}
  void connectPreview(CameraPreviewLayer&) override {}
  void disconnectPreview(CameraPreviewLayer&) override {}
};

struct SilentStream : SoundStream {
  void start() override {}
  void stop() override {}
  std::vector<std::string> warnings() override { return {}; }
};

class RecorderModelTest : public testing::Test {
 protected:
  RecorderModelTest() {
    testing::internal::CaptureStderr();
    script.untilLimit = []() -> Task<> { co_await sleepFor(std::chrono::hours(1)); };
    script.finalized.artifacts = {.screenVideo = folder / "x.mp4",
                                  .cursorTelemetry = folder / "x.cursor.json"};
    preferences->change([](Preferences& changed) { changed.countdown = CountdownPreference::off; });
    const Executor main = desktop.loop.get_executor();
    disk = DiskSpaceMonitor::make(main, {.directory = folder.path(), .injectedFreeBytes = 10'000'000'000});
    sources = SourceEnumerator::make(main, {.content =
                                                [this] {
                                                  ++listings;
                                                  if (noDesktop) throw ScriptedError("no desktop");
                                                  return content;
                                                },
                                            .thumbnail = [](std::uint32_t) { return PixelBufferRef(); }});
    make();
  }
  ~RecorderModelTest() override {
    if (model && model->hudState().mode != Mode::hidden) stop();
    model.reset();
    bool listed = false;  // the last thing that is asked of this desktop
    asio::co_spawn(desktop.loop, sources->enumerate(), [&](const std::exception_ptr&) { listed = true; });
    EXPECT_TRUE(runUntil([&] { return listed; }));
    testing::internal::GetCapturedStderr();
  }

  void make(std::filesystem::path projects = {}) {
    if (projects.empty()) projects = folder / "projects";
    model = RecorderModel::make(
        {.mainThread = desktop.loop.get_executor(),
         .coordinator = script.makeCoordinator(),
         .projects = ProjectLibrary(projects),
         .preferences = preferences,
         .disk = disk,
         .sources = sources,
         .mic =
             MicMonitor::make({.devices =
                                   [] {
                                     return std::vector<MicOption>{{"m", "Mic"}};
                                   },
                               .open = [](const auto&, auto) { return std::make_unique<SilentStream>(); }}),
         .camera = CameraPreview::make(broker, [] { return std::vector<CameraOption>(); }),
         .permissions = &desktop,
         .presenter = &desktop,
         .defaultDirectory = folder / "films",
         .now = [] { return *Date::parseISO8601("2026-11-22T18:04:05Z"); },
         .countdownSleep = [this](double) -> Task<bool> {
           co_await asio::post(desktop.loop.get_executor(), asio::use_awaitable);
           while (holdCountdown) co_await sleepFor(std::chrono::milliseconds(1));
           co_return true;
         }},
        {.dismissPopover = [this] { happened.emplace_back("dismissed"); },
         .onProjectsChanged = [this] { happened.emplace_back("projects"); },
         .onInterrupted = [this](const Toast& toast) { toasts.push_back(toast); },
         .onWarned = [this](const Toast& toast) { toasts.push_back(toast); },
         .openEditor =
             [this](RecordingHandoffFields handoff, const std::string& id) {
               happened.emplace_back("editor");
               opened = std::move(handoff);
               openedID = id;
             },
         .openSettingsPane = [this](PermissionKind) { happened.emplace_back("settings"); },
         .manageStorage = [this] { happened.emplace_back("storage"); }});
    actions = model->popoverActions();
    runFor(std::chrono::milliseconds(5));
  }

  template <class Condition>
  [[nodiscard]] bool runUntil(const Condition& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      desktop.loop.restart();
      desktop.loop.run_one_for(std::chrono::milliseconds(20));
    }
    return true;
  }
  /// For what must not happen: there is no event to wait for.
  void runFor(std::chrono::milliseconds time) {
    desktop.loop.restart();
    desktop.loop.run_for(time);
  }
  bool runUntilMode(Mode mode) {
    return runUntil([&] { return model->hudState().mode == mode; });
  }
  void record() {
    model->toggleRecord();
    ASSERT_TRUE(runUntilMode(Mode::recording));
  }
  /// Until the recording has been handed on.
  void stop() {
    const auto before = std::ranges::count(happened, "editor");
    model->toggleRecord();
    EXPECT_TRUE(runUntilMode(Mode::hidden));
    EXPECT_TRUE(runUntil([&] { return std::ranges::count(happened, "editor") > before; }));
  }
  std::string log() {
    auto text = testing::internal::GetCapturedStderr();
    testing::internal::CaptureStderr();
    return text;
  }
  std::vector<ProjectStore::ProjectListItem> projects() const {
    return ProjectStore{folder / "projects"}.projects();
  }

  TemporaryFolder folder;
  ScriptedDesktop desktop;
  ScriptedSession::Script script;
  std::shared_ptr<PreferenceStore> preferences =
      std::make_shared<PreferenceStore>(folder / "preferences.json");
  CameraSessionBroker broker{std::make_unique<NoCamera>()};
  std::shared_ptr<DiskSpaceMonitor> disk;
  std::atomic<int> listings = 0;
  std::atomic<bool> noDesktop = false;
  ShareableContent content{
      .displays =
          {{.id = 5, .frame = {0, 0, 1000, 800}, .pixelWidth = 1000, .pixelHeight = 800, .isMain = true},
           {.id = 6, .frame = {1000, 0, 800, 600}, .pixelWidth = 800, .pixelHeight = 600}},
      .windows = {{.id = 9, .title = "Letter", .frame = {0, 0, 300, 300}, .appName = "Editor"}}};
  std::shared_ptr<SourceEnumerator> sources;
  bool holdCountdown = false;
  std::vector<std::string> happened;
  std::vector<Toast> toasts;
  RecordingHandoffFields opened;
  std::string openedID;
  PopoverActions actions;
  std::shared_ptr<RecorderModel> model;
};

TEST_F(RecorderModelTest, RecordsWhatIsChosenAndHandsItOn) {
  preferences->change([&](Preferences& changed) {
    changed.saveLocation = (folder / "new" / "place").string();
    changed.defaultMicID = "preferred";
    changed.frameRate = FrameRatePreference::fps60;
    changed.resolution = CaptureResolution::p1080;
  });
  actions.selectMode(SourceMode::window);
  model->popoverDidOpen();
  ASSERT_TRUE(runUntil([&] { return !model->viewState().windows.empty(); }));
  actions.selectWindow(9);
  actions.selectDisplay(6);
  actions.setSystemAudio(true);
  actions.setCamera(true);
  model->toggleRecord();
  ASSERT_TRUE(runUntilMode(Mode::recording));
  EXPECT_TRUE(std::filesystem::is_directory(folder / "new" / "place"));
  const CaptureOptions expected{.outputURL = folder / "new" / "place" / "Recording 2026-11-22T18-04-05Z.mp4",
                                .displayID = 6,
                                .windowID = 9,
                                .mic = true,  // nobody said otherwise, and it is allowed
                                .micDeviceID = "preferred",
                                .systemAudio = true,
                                .facecam = true,
                                .frameRate = 60,
                                .resolution = CaptureResolution::p1080};
  EXPECT_EQ(script.request.options, expected);
  EXPECT_EQ(script.request.duration, 86'400);
  EXPECT_TRUE(model->showsBubble());
  EXPECT_EQ(model->viewState().record.title, "Stop Recording");

  script.finalized.artifacts.warnings = {"no sound", "no camera"};
  stop();
  EXPECT_THAT(happened, ElementsAre("dismissed", "projects", "editor"));
  ASSERT_EQ(projects().size(), 1U);
  EXPECT_EQ(projects()[0].id, openedID);
  EXPECT_EQ(projects()[0].title, "Recording");
  EXPECT_EQ(projects()[0].createdAt, "2026-11-22T18:04:05Z");
  EXPECT_EQ(projects()[0].interruptedCause, std::nullopt);
  EXPECT_EQ(opened.screenVideoPath, (folder / "x.mp4").string());
  EXPECT_EQ(opened.cursorTelemetryPath, (folder / "x.cursor.json").string());
  ASSERT_EQ(toasts.size(), 1U);
  EXPECT_EQ(toasts[0].text, "no sound\nno camera");
  EXPECT_FALSE(model->showsBubble());
  EXPECT_EQ(log(),
            "[Quillant] Start pressed (mode=window, popoverOpen=true)\n"
            "[Quillant] Capture starting on display 6 (area=false, window=true)\n"
            "[Quillant] Stop pressed\n");
}

TEST_F(RecorderModelTest, SeesPermissionsAndDisplaysAfreshAtAPress) {
  desktop.permissions.microphone = PermissionState::denied;
  actions.selectMic("chosen");
  record();
  EXPECT_EQ(listings, 1);
  EXPECT_EQ(script.request.options.displayID, 5U);  // the main one: nobody chose
  EXPECT_FALSE(script.request.options.mic);
  stop();
  actions.setMic(true);  // and nothing else counts any more
  model->popoverDidOpen();
  ASSERT_TRUE(runUntil([&] { return listings > 1; }));
  runFor(std::chrono::milliseconds(5));
  const int before = listings;
  record();  // with the list that the panel shows
  EXPECT_EQ(listings, before);
  EXPECT_TRUE(script.request.options.mic);
  EXPECT_EQ(script.request.options.micDeviceID, "chosen");
  model->popoverDidClose();
}

TEST_F(RecorderModelTest, TakesNoNoticeOfPressesWhileOneIsPrepared) {
  int asked = 0;
  desktop.whileAsked = [&] {
    if (asked++ == 0) model->toggleRecord();
  };
  script.whileStarting = [&]() -> Task<> {
    asio::post(desktop.loop, [&] { model->toggleRecord(); });
    co_await sleepFor(std::chrono::milliseconds(20));
  };
  record();
  EXPECT_EQ(asked, 1);
  EXPECT_THAT(desktop.alerts, IsEmpty());
  const auto ignored = "Start pressed again while the previous press is still being prepared; ignored\n";
  EXPECT_EQ(log(), std::string("[Quillant] Start pressed (mode=display, popoverOpen=false)\n[Quillant] ") +
                       ignored + "[Quillant] Capture starting on display 5 (area=false, window=false)\n" +
                       "[Quillant] " + ignored);
}

TEST_F(RecorderModelTest, CountsDownUnlessItIsCancelled) {
  preferences->change([](Preferences& changed) { changed.countdown = CountdownPreference::threeSeconds; });
  holdCountdown = true;
  const auto press = [&] {
    model->toggleRecord();
    runFor(std::chrono::milliseconds(20));
  };
  model->toggleRecord();
  ASSERT_TRUE(runUntil([&] { return desktop.countdownsShown == 1; }));
  EXPECT_EQ(desktop.countdown->displayID(), 5U);
  EXPECT_EQ(desktop.countdown->model().remaining, 3);
  press();
  EXPECT_EQ(desktop.countdownsShown, 1);
  EXPECT_THAT(log(), HasSubstr("Countdown shown on display 5\n[Quillant] Start pressed (mode=display, "
                               "popoverOpen=false)\n[Quillant] Countdown already running; start ignored\n"));
  desktop.countdown->cancel();
  EXPECT_EQ(desktop.countdownsShown, 0);
  holdCountdown = false;
  runFor(std::chrono::milliseconds(20));
  EXPECT_THAT(log(), Not(HasSubstr("Capture starting")));
  record();
  EXPECT_EQ(desktop.countdownsShown, 0);
}

TEST_F(RecorderModelTest, RecordsTheAreaThatWasSelected) {
  actions.selectMode(SourceMode::area);
  const auto select = [&] {
    model->toggleRecord();
    ASSERT_TRUE(runUntil([&] { return desktop.areasShown == 1; }));
  };
  select();
  model->toggleRecord();
  runFor(std::chrono::milliseconds(20));
  EXPECT_EQ(desktop.areasShown, 1);
  desktop.area->press(AreaSelectionOverlayController::Key::cancel);
  EXPECT_EQ(desktop.areasShown, 0);
  select();
  auto& right = desktop.area->models().back();
  right.updateDraw({100, 100}, {300, 200});
  right.endDraw();
  desktop.area->press(AreaSelectionOverlayController::Key::commit);
  EXPECT_EQ(desktop.areasShown, 0);
  ASSERT_TRUE(runUntilMode(Mode::recording));
  EXPECT_EQ(script.request.options.area, (CaptureArea{1100, 600, 200, 100}));
  EXPECT_EQ(script.request.options.displayID, 6U);
  EXPECT_THAT(log(), HasSubstr("Area selection already open; start ignored"));
}

TEST_F(RecorderModelTest, SaysWhyItDoesNotStart) {
  const auto refused = [&](const std::string& logReason) {
    const auto before = desktop.alerts.size();
    model->toggleRecord();
    EXPECT_TRUE(runUntil([&] { return desktop.alerts.size() > before; })) << logReason;
    runFor(std::chrono::milliseconds(5));
    EXPECT_THAT(log(), HasSubstr("[Quillant] Start refused: " + logReason + "\n"));
    return desktop.alerts.back().title;
  };
  desktop.permissions.screenRecording = PermissionState::denied;
  EXPECT_EQ(refused("screen-permission"), "Quillant needs Screen Recording permission");
  EXPECT_EQ(listings, 0);  // what would be asked is not allowed
  EXPECT_THAT(happened, ElementsAre("settings"));
  desktop.permissions.screenRecording = PermissionState::granted;
  actions.selectMode(SourceMode::window);
  EXPECT_EQ(refused("no-window"), "Choose a window first");
  actions.selectMode(SourceMode::display);
  noDesktop = true;
  content = {};
  EXPECT_EQ(refused("no-display"), "No screen to record");
  EXPECT_EQ(desktop.alerts.back().message, "no desktop");
  EXPECT_THAT(happened, ElementsAre("settings"));

  disk = DiskSpaceMonitor::make(desktop.loop.get_executor(),
                                {.directory = folder.path(), .injectedFreeBytes = 1'999'999'999});
  make();
  EXPECT_EQ(refused("disk-floor free=2 GB"), "Not enough disk space to record");
  desktop.answer = 1;
  refused("disk-floor free=2 GB");
  EXPECT_THAT(happened, ElementsAre("settings", "storage"));
}

TEST_F(RecorderModelTest, KeepsWhatIsChosenOnlyWhileItIsThere) {
  actions.selectMode(SourceMode::window);
  model->popoverDidOpen();
  ASSERT_TRUE(runUntil([&] { return !model->viewState().windows.empty(); }));
  actions.selectWindow(9);
  actions.selectDisplay(6);
  EXPECT_TRUE(runUntil([&] { return model->canRecord(); }));
  const auto listAgain = [&] {
    bool listed = false;
    asio::co_spawn(desktop.loop, sources->enumerate(), [&](const std::exception_ptr&) { listed = true; });
    EXPECT_TRUE(runUntil([&] { return listed; }));
  };
  const auto before = content;
  noDesktop = true;  // for a moment: that says nothing about what there is
  content = {};
  listAgain();
  noDesktop = false;
  content = before;
  content.displays[1].name = "still there";
  listAgain();
  EXPECT_TRUE(model->viewState().displays[1].isSelected);
  EXPECT_TRUE(model->viewState().windows[0].isSelected);
  content.displays.pop_back();
  content.windows.clear();
  listAgain();
  EXPECT_TRUE(model->viewState().displays[0].isSelected);
  EXPECT_EQ(model->startRefusal()->logReason, "no-window");
  model->popoverDidClose();
}

TEST_F(RecorderModelTest, MakesAProjectOfAnInterruptedRecording) {
  for (const auto& [bytes, cause, text] :
       {std::tuple(
            1'000'000'000LL, "the system reclaimed disk space",
            "The system reclaimed disk space and ended the capture. Every frame before that is safe on "
            "disk."),
        std::tuple(9'000'000'000LL, "recording stopped unexpectedly",
                   "The capture ended before you stopped it. Every frame before that is safe on disk.")}) {
    const auto video = folder / std::string(cause).substr(0, 3).append(".mp4");
    TestRecording{.frames = 60}.write(video);
    script.finalized.artifacts.screenVideo = video;
    record();
    script.freeBytes = bytes;
    toasts.clear();
    script.onFailure(scriptedError("the stream broke"));
    ASSERT_TRUE(runUntil([&] { return !toasts.empty(); }));
    EXPECT_THAT(toasts[0].title,
                testing::MatchesRegex("Recording interrupted — saved everything up to 0:0[12]"));
    EXPECT_EQ(toasts[0].text, text);
    EXPECT_THAT(projects(), testing::Contains(testing::Field(&ProjectStore::ProjectListItem::interruptedCause,
                                                             testing::Optional(std::string(cause)))));
    ASSERT_TRUE(runUntilMode(Mode::hidden));
  }
  EXPECT_THAT(happened, testing::Each(testing::AnyOf("projects", "dismissed")));  // and no editor
}

TEST_F(RecorderModelTest, OpensARecordingThatCannotBeRegisteredAndTellsOfOneThatDoesNotStart) {
  std::ofstream(folder / "file") << "no folder";
  make(folder / "file");
  record();
  stop();
  EXPECT_EQ(opened.screenVideoPath, (folder / "x.mp4").string());
  EXPECT_THAT(log(), HasSubstr("[Quillant] project registration failed (opening anyway): "));

  script.makeError = scriptedError("the screen is gone");
  model->toggleRecord();
  ASSERT_TRUE(runUntil([&] { return desktop.alerts.size() == 1; }));
  EXPECT_EQ(desktop.alerts[0].title, "Couldn't start recording");
  EXPECT_EQ(desktop.alerts[0].message, "the screen is gone");
  EXPECT_THAT(log(), HasSubstr("[Quillant] Capture failed to start: the screen is gone\n"));
  preferences->change(
      [&](Preferences& changed) { changed.saveLocation = (folder / "file" / "in").string(); });
  runFor(std::chrono::milliseconds(5));
  model->toggleRecord();
  ASSERT_TRUE(runUntil([&] { return desktop.alerts.size() == 2; }));
  EXPECT_THAT(desktop.alerts[1].message, HasSubstr("could not make "));
}

TEST_F(RecorderModelTest, DiscardsOnlyWhatWasAskedAbout) {
  std::ofstream(folder / "x.mp4") << "video";
  desktop.answer = 1;
  record();
  model->hudDiscard();
  model->hudDiscard();
  ASSERT_TRUE(runUntil([&] { return !desktop.alerts.empty(); }));
  EXPECT_EQ(desktop.alerts[0].title, "Discard this recording?");
  runFor(std::chrono::milliseconds(20));
  EXPECT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(model->hudState().mode, Mode::recording);

  // It ends while the user thinks, and the next one begins.
  desktop.answer = 0;
  desktop.holdAlert = true;
  model->hudDiscard();
  ASSERT_TRUE(runUntil([&] { return desktop.alerts.size() == 2; }));
  stop();
  record();
  desktop.holdAlert = false;
  runFor(std::chrono::milliseconds(50));
  EXPECT_EQ(model->hudState().mode, Mode::recording);
  EXPECT_TRUE(std::filesystem::exists(folder / "x.mp4"));

  model->pause();
  ASSERT_TRUE(runUntilMode(Mode::paused));
  model->hudDiscard();
  ASSERT_TRUE(runUntilMode(Mode::hidden));
  EXPECT_TRUE(runUntil([&] { return !std::filesystem::exists(folder / "x.mp4"); }));
}

TEST_F(RecorderModelTest, ShowsHowFarARecordingIs) {
  int changes = 0;
  const auto connection = model->hudChanged.connect([&] { ++changes; });
  record();
  EXPECT_TRUE(model->hudState().micLevel.has_value());
  script.milliseconds = 5000 + 65'900;
  ASSERT_TRUE(runUntil([&] { return model->hudState().seconds == 65; }));
  EXPECT_EQ(model->hudState().label(), "Recording 1:05");
  const int before = changes;
  runFor(std::chrono::milliseconds(500));
  EXPECT_EQ(changes, before);  // nothing that is seen has changed
  model->pause();
  ASSERT_TRUE(runUntilMode(Mode::paused));
  EXPECT_EQ(model->hudState().label(), "Paused at 1:05");
  EXPECT_FALSE(model->showsBubble());
  actions.setCamera(true);
  EXPECT_TRUE(model->showsBubble());
  model->resume();
  ASSERT_TRUE(runUntilMode(Mode::recording));
  script.milliseconds = 5000 + 3'665'000;
  ASSERT_TRUE(runUntil([&] { return model->hudState().clock() == "1:01:05"; }));
  // A press while it is being saved is refused; what the user sees stays.
  std::atomic<bool> pressed = false;
  script.whileStopping = [&] {
    asio::post(desktop.loop, [&] {
      EXPECT_EQ(model->hudState().mode, Mode::saving);
      EXPECT_EQ(model->hudState().clock(), "1:01:05");
      model->toggleRecord();
    });
    while (!pressed) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  };
  desktop.whileAlerted = [&] { pressed = true; };
  stop();
  ASSERT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(desktop.alerts[0].title, "The last recording is still being saved");
  actions.requestPermission(PermissionKind::camera);
  EXPECT_TRUE(runUntil([&] { return model->viewState().permissions[2].state == PermissionState::granted; }));
}

}  // namespace
}  // namespace quillant
