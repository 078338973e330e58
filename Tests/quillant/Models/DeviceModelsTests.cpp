#include <fstream>
#include <gmock/gmock.h>
#include <limits>

#include "Core/AtomicFile.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/ScriptedSession.h"
#include "Tests/Support/TemporaryFolder.h"
#include "Tests/quillant/Models/MainLoop.h"
#include "quillant/Models/CameraPreview.h"
#include "quillant/Models/DiskSpaceMonitor.h"
#include "quillant/Models/MicMonitor.h"
#include "quillant/Models/PreferenceStore.h"
#include "quillant/Models/RecordingsLocation.h"

namespace quillant {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;

void run(asio::io_context& loop, Task<> task) {
  bool ended = false;
  asio::co_spawn(loop, std::move(task), [&](const std::exception_ptr&) { ended = true; });
  loop.restart();
  while (!ended) loop.run_one_for(milliseconds(20));
}

TEST(DiskSpaceMonitor, ReadsAgainAndAgainUntilItIsStopped) {
  static_assert(diskStatus(1'999'999'999) == DiskStatus::blocked);
  static_assert(diskStatus(2'000'000'000) == DiskStatus::warn);
  static_assert(diskStatus(4'999'999'999) == DiskStatus::warn);
  static_assert(diskStatus(5'000'000'000) == DiskStatus::ok);
  constexpr auto unreadable = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(DiskSpaceMonitor::availableBytes("/proc/self/fd/nothing"), 0);  // a volume without room
  auto& loop = makeMainLoop();
  const TemporaryFolder folder;
  const auto monitor = DiskSpaceMonitor::make(
      loop.get_executor(), {.directory = folder / "later" / "on", .interval = milliseconds(1)});
  EXPECT_EQ(monitor->freeBytes(), unreadable);
  int changes = 0;
  const auto connection = monitor->changed.connect([&] { ++changes; });
  monitor->start();
  monitor->start();
  loop.run_for(milliseconds(50));
  EXPECT_GE(changes, 1);
  EXPECT_LT(monitor->freeBytes(), unreadable);
  monitor->setDirectory("/proc");
  loop.run_for(milliseconds(50));
  EXPECT_EQ(monitor->freeBytes(), 0);
  monitor->stop();
  loop.run();  // ends: nobody reads any more
  monitor->setDirectory(folder.path());
  run(loop, monitor->read());
  EXPECT_GT(monitor->freeBytes(), 0);
}

TEST(RecordingsLocation, IsAFolderOfItsOwn) {
  EXPECT_EQ(RecordingsLocation::directory("/home/u/Videos"), "/home/u/Videos/Quillant");
  EXPECT_EQ(RecordingsLocation::directory(std::nullopt), std::filesystem::temp_directory_path() / "Quillant");
}

TEST(PreferenceStore, KeepsWhatIsChosenAndSurvivesWhatIsBroken) {
  const TemporaryFolder folder;
  const auto file = folder / "config" / "preferences.json";
  Preferences chosen;
  {
    PreferenceStore store(file);
    EXPECT_EQ(store.value(), Preferences());
    int changes = 0;
    const auto connection = store.changed.connect([&] { ++changes; });
    for (const auto* place : {"/a", "/a", "/b"})
      store.change([&](Preferences& preferences) { preferences.saveLocation = place; });
    store.change([](Preferences& preferences) {
      preferences.frameRate = FrameRatePreference::fps60;
      preferences.hasCompletedOnboarding = true;
    });
    EXPECT_EQ(changes, 3);
    runBlocking(store.written());
    chosen = store.value();
  }
  EXPECT_EQ(PreferenceStore(file).value(), chosen);
  EXPECT_THAT(AtomicFile::read(file), testing::HasSubstr(R"("com.quillant.pref.saveLocation": "/b")"));
  std::ofstream(file) << R"({"com.quillant.pref.frameRate": "fps99", "com.quillant.pref.countdown": "off",
                             "com.quillant.pref.saveLocation": 7})";
  EXPECT_EQ(PreferenceStore(file).value(), Preferences{.countdown = CountdownPreference::off});
  std::ofstream(file) << "{";
  EXPECT_EQ(PreferenceStore(file).value(), Preferences());
}

/// A microphone that the test speaks into.
struct SpokenStream : SoundStream {
  SpokenStream(std::atomic<int>& open, SoundService::BufferCallback given)
      : opened(open), onBuffer(std::move(given)) {
    ++opened;
  }
  ~SpokenStream() override { --opened; }
  void start() override { onBuffer({.samples = {0.001F, -0.1F}}); }
  void stop() override {}
  std::vector<std::string> warnings() override { return {}; }

  std::atomic<int>& opened;
  SoundService::BufferCallback onBuffer;
};

TEST(MicMonitor, HearsTheOneThatIsChosenAndOpensItAgainWhenItIsSilent) {
  auto& loop = makeMainLoop();
  std::atomic<int> open = 0;
  std::atomic<int> opens = 0;
  std::atomic<bool> isThere = true;
  const auto mic =
      MicMonitor::make({.devices =
                            [] {
                              return std::vector<MicOption>{{"m", "Mic"}};
                            },
                        .open =
                            [&](const std::optional<std::string>& id, SoundService::BufferCallback onBuffer) {
                              EXPECT_EQ(id, "m");
                              ++opens;
                              if (!isThere) throw ScriptedError("no server");
                              return std::make_unique<SpokenStream>(open, std::move(onBuffer));
                            }});
  run(loop, mic->refresh());
  EXPECT_THAT(mic->devices(), ElementsAre(MicOption{"m", "Mic"}));
  EXPECT_EQ(mic->level(), 0);
  const auto listen = [&] {
    mic->listen("m");
    run(loop, mic->refresh());  // what comes after it on the queue
  };
  listen();
  listen();
  EXPECT_EQ(opens, 1);
  EXPECT_NEAR(mic->level(), 1 - 20.0 / 60, 1e-6);  // -20 dB
  EXPECT_NEAR(mic->level(), 1 - 20.0 / 60 - 0.1, 1e-6);
  // The server goes: nothing comes from the stream any more.
  isThere = false;
  EXPECT_TRUE(eventually([&] { return listen(), open == 0; }));
  isThere = true;
  listen();
  EXPECT_EQ(open, 1);
  mic->stop();
  run(loop, mic->refresh());
  EXPECT_EQ(open, 0);
}

/// Counts who looks.
struct WatchedCamera : CameraSessionControlling {
  bool isAllowed() override { return true; }
  CameraFormat ensureInput() override {
    if (!isPlugged) throw ScriptedError("no camera");
    return {2, 2};
  }
  bool isRunning() const override { return isStarted; }
  void start() override { isStarted = true; }
  void stop() override { isStarted = false; }
  void setSink(Sink) override {}
  void setOnRuntimeError(std::function<void()>) override {}
  void setPreferredDevice(std::optional<std::string>) override {}
  void connectPreview(CameraPreviewLayer&) override { ++layers; }
  void disconnectPreview(CameraPreviewLayer&) override { --layers; }

  std::atomic<bool> isPlugged = false;
  std::atomic<bool> isStarted = false;
  std::atomic<int> layers = 0;
};

TEST(CameraPreview, OpensTheCameraForWhoeverLooks) {
  struct Layer : CameraPreviewLayer {
    void show(PixelBufferRef) override {}
  };
  auto& loop = makeMainLoop();
  auto owned = std::make_unique<WatchedCamera>();
  auto& camera = *owned;
  CameraSessionBroker broker(std::move(owned));
  const auto panel = std::make_shared<Layer>();
  const auto bubble = std::make_shared<Layer>();
  {
    const auto preview = CameraPreview::make(broker, [] {
      return std::vector<CameraOption>{{"c", "Webcam"}};
    });
    const auto settle = [&] { run(loop, preview->refresh()); };
    preview->show(panel);
    settle();
    EXPECT_FALSE(camera.isStarted);
    camera.isPlugged = true;  // later on
    settle();
    EXPECT_TRUE(camera.isStarted);
    EXPECT_EQ(preview->devices().size(), 1U);
    preview->show(bubble);
    preview->show(bubble);
    preview->hide(panel);
    preview->hide(panel);
    settle();
    EXPECT_TRUE(camera.isStarted);
    EXPECT_EQ(camera.layers, 1);
  }
  EXPECT_FALSE(camera.isStarted);
  EXPECT_EQ(camera.layers, 0);
}

}  // namespace
}  // namespace quillant
