#include <gmock/gmock.h>

#include "CaptureEngine/BrokeredCameraService.h"
#include "CaptureEngine/CameraSessionBroker.h"
#include "CaptureEngine/FacecamError.h"
#include "CaptureEngine/FragmentedMP4Writer.h"
#include "Core/HostClock.h"
#include "Tests/Support/Media/StampedFrames.h"
#include "Tests/Support/ScriptedSession.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A camera in the test's hands.
struct ScriptedCameraSession : CameraSessionControlling {
  bool isAllowed() override { return true; }
  CameraFormat ensureInput() override {
    if (!isPlugged) throw FacecamError(FacecamError::Kind::noCamera);
    isOpen = true;
    return {128, 48};
  }
  bool isRunning() const override { return isStarted; }
  void start() override {
    ensureInput();
    isStarted = true;
    ++starts;
  }
  void stop() override { isStarted = isOpen = false; }
  void setSink(Sink given) override { sink = std::move(given); }
  void setOnRuntimeError(std::function<void()> given) override { onRuntimeError = std::move(given); }
  void setPreferredDevice(std::optional<std::string> id) override { preferred = std::move(id); }
  void connectPreview(CameraPreviewLayer&) override {}
  void disconnectPreview(CameraPreviewLayer&) override {}

  bool isPlugged = true;
  bool isOpen = false;
  bool isStarted = false;
  int starts = 0;
  Sink sink;
  std::function<void()> onRuntimeError;
  std::optional<std::string> preferred;
};

class CameraSessionBrokerTest : public testing::Test {
 protected:
  CameraSessionBrokerTest() {
    auto made = std::make_unique<ScriptedCameraSession>();
    camera = made.get();
    broker.emplace(std::move(made));
  }
  void fail() {
    camera->onRuntimeError();
    broker->isLost();  // what comes after the recovery on the queue
  }
  std::unique_ptr<FacecamCapturing> makeFacecam() {
    return BrokeredCameraService(*broker).makeFacecam(
        file, std::make_shared<PauseClock>(),
        [this](const std::exception_ptr& error) { failures.push_back(describe(error)); });
  }

  TemporaryFolder folder;
  std::filesystem::path file = folder / "x.facecam.mov";
  std::vector<std::string> failures;
  ScriptedCameraSession* camera = nullptr;
  std::optional<CameraSessionBroker> broker;
};

TEST_F(CameraSessionBrokerTest, RunsTheCameraFromTheFirstUserToTheLast) {
  const auto preview = broker->attachPreview();
  EXPECT_TRUE(camera->isStarted);
  const auto recorder = broker->acquireRecorder([](const PixelBufferRef&, MediaTime) {});
  broker->release(preview);
  broker->release(preview);  // counts once
  EXPECT_TRUE(camera->isStarted);
  EXPECT_TRUE(camera->sink);
  broker->release(recorder);
  EXPECT_FALSE(camera->isStarted);
  EXPECT_FALSE(camera->sink);
  EXPECT_EQ(camera->starts, 1);

  const auto another = broker->attachPreview();
  broker->release(broker->attachPreview());
  EXPECT_TRUE(camera->isStarted);
  broker->release(another);
  EXPECT_FALSE(camera->isStarted);
}

TEST_F(CameraSessionBrokerTest, GivesUpAfterThreeErrorsUntilItsLastUserHasGone) {
  auto recorder = broker->acquireRecorder([](const PixelBufferRef&, MediaTime) {});
  for (int error = 1; error <= 3; ++error) {
    fail();
    EXPECT_EQ(camera->starts, 1 + error);
    EXPECT_FALSE(broker->isLost());
  }
  fail();
  EXPECT_EQ(camera->starts, 4);
  EXPECT_TRUE(broker->isLost());
  EXPECT_TRUE(camera->sink);

  broker->release(recorder);
  recorder = broker->acquireRecorder([](const PixelBufferRef&, MediaTime) {});
  EXPECT_FALSE(broker->isLost());
  fail();
  EXPECT_EQ(camera->starts, 6);
  camera->isPlugged = false;
  fail();
  EXPECT_TRUE(broker->isLost());
  broker->release(recorder);
  fail();  // from a thread that was just ending
  EXPECT_FALSE(camera->isStarted);
}

TEST_F(CameraSessionBrokerTest, LeavesNothingOfAUserThatGotNoCamera) {
  camera->isPlugged = false;
  EXPECT_THROW(broker->attachPreview(), FacecamError);
  EXPECT_THROW(broker->acquireRecorder([](const PixelBufferRef&, MediaTime) {}), FacecamError);
  EXPECT_FALSE(camera->sink);
  camera->isPlugged = true;
  broker->release(broker->attachPreview());
  EXPECT_FALSE(camera->isStarted);
}

TEST_F(CameraSessionBrokerTest, ReplacesTheCameraThatIsInUse) {
  broker->setPreferredCamera("other");
  EXPECT_EQ(camera->starts, 0);
  const auto preview = broker->attachPreview();
  broker->setPreferredCamera(std::nullopt);
  EXPECT_EQ(camera->preferred, std::nullopt);
  EXPECT_EQ(camera->starts, 2);
  broker->release(preview);
}

using FacecamCaptureTest = CameraSessionBrokerTest;

TEST_F(FacecamCaptureTest, WritesWhatComesBetweenItsStartAndItsStop) {
  const auto preview = broker->attachPreview();
  const auto facecam = makeFacecam();
  EXPECT_TRUE(std::filesystem::exists(file));
  EXPECT_FALSE(camera->sink);  // what a preview sees before the start is not recorded
  facecam->start();
  const auto begin = HostClock::now();
  for (int i = 0; i < 2; ++i)
    camera->sink(StampedFrames::moving(128, 48, static_cast<std::uint32_t>(i)), begin + MediaTime{i, 30});
  facecam->stop();
  EXPECT_FALSE(camera->sink);
  EXPECT_TRUE(camera->isStarted);  // the preview goes on
  runBlocking(facecam->finish());
  EXPECT_EQ(facecam->startTime(), begin);
  EXPECT_GE(facecam->frameCount(), 2U);
  EXPECT_THAT(facecam->warnings(), IsEmpty());
  EXPECT_THAT(failures, IsEmpty());
  broker->release(preview);
}

TEST_F(FacecamCaptureTest, TellsOfACameraThatDeliversNothingOrGoesAway) {
  const auto facecam = makeFacecam();
  facecam->start();
  camera->isPlugged = false;
  fail();
  facecam->stop();
  runBlocking(facecam->finish());
  EXPECT_EQ(facecam->frameCount(), 0U);
  EXPECT_FALSE(facecam->startTime().isValid());
  EXPECT_THAT(facecam->warnings(),
              ElementsAre("facecam stopped during the recording — the camera went away"));
  EXPECT_THAT(failures, IsEmpty());
}

TEST_F(FacecamCaptureTest, LetsGoOfACameraThatItDoesNotUse) {
  makeFacecam();
  EXPECT_FALSE(camera->isOpen);
  EXPECT_THROW(makeFacecam(), FragmentedMP4Writer::WriterError);  // the file of the one before
  EXPECT_FALSE(camera->isOpen);
  std::filesystem::remove(file);
  camera->isPlugged = false;
  EXPECT_THROW(makeFacecam(), FacecamError);
  EXPECT_FALSE(std::filesystem::exists(file));
}

}  // namespace

}  // namespace quillant
