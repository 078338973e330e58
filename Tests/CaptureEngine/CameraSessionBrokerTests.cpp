#include <gmock/gmock.h>

#include "CaptureEngine/BrokeredCameraService.h"
#include "CaptureEngine/CameraSessionBroker.h"
#include "CaptureEngine/FacecamError.h"
#include "CaptureEngine/FragmentedMP4Writer.h"
#include "Core/HostClock.h"
#include "Tests/Support/Media/StampedFrames.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

namespace {

using testing::ElementsAre;

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
  void setPreferredDevice(std::optional<std::string>) override {}
  void connectPreview(CameraPreviewLayer&) override {}
  void disconnectPreview(CameraPreviewLayer&) override {}

  bool isPlugged = true;
  bool isOpen = false;
  bool isStarted = false;
  int starts = 0;
  Sink sink;
  std::function<void()> onRuntimeError;
};

class CameraSessionBrokerTest : public testing::Test {
 protected:
  CameraSessionBrokerTest() {
    auto made = std::make_unique<ScriptedCameraSession>();
    camera = made.get();
    broker.emplace(std::move(made));
  }
  CameraSessionBroker::Token record() {
    return broker->acquireRecorder([](const PixelBufferRef&, MediaTime) {});
  }
  void fail() {
    camera->onRuntimeError();
    broker->isLost();  // what comes after the recovery on the queue
  }

  ScriptedCameraSession* camera = nullptr;
  std::optional<CameraSessionBroker> broker;
};

TEST_F(CameraSessionBrokerTest, RunsTheCameraFromTheFirstUserToTheLast) {
  const auto preview = broker->attachPreview();
  EXPECT_TRUE(camera->isStarted);
  const auto recorder = record();
  broker->release(preview);
  broker->release(preview);  // counts once
  EXPECT_TRUE(camera->isStarted && camera->sink);
  broker->release(recorder);
  EXPECT_FALSE(camera->isStarted || camera->sink);
  EXPECT_EQ(camera->starts, 1);

  broker->setPreferredCamera("other");  // replaces a camera in use, and no other
  EXPECT_EQ(camera->starts, 1);
  const auto another = broker->attachPreview();
  broker->setPreferredCamera(std::nullopt);
  EXPECT_EQ(camera->starts, 3);
  broker->release(another);

  camera->isPlugged = false;
  EXPECT_THROW(broker->attachPreview(), FacecamError);
  EXPECT_THROW(record(), FacecamError);
  EXPECT_FALSE(camera->sink);
  camera->isPlugged = true;
  broker->release(broker->attachPreview());  // those who got none do not count
  EXPECT_FALSE(camera->isStarted);
}

TEST_F(CameraSessionBrokerTest, GivesUpAfterThreeErrorsUntilItsLastUserHasGone) {
  auto recorder = record();
  for (int error = 1; error <= 4; ++error) {
    fail();
    EXPECT_EQ(camera->starts, std::min(1 + error, 4));
    EXPECT_EQ(broker->isLost(), error > 3);
  }
  EXPECT_TRUE(camera->sink);

  broker->release(recorder);
  recorder = record();
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

class FacecamCaptureTest : public CameraSessionBrokerTest {
 protected:
  std::unique_ptr<FacecamCapturing> make() {
    return BrokeredCameraService(*broker).makeFacecam(
        file, nullptr, [](const std::exception_ptr& error) { ADD_FAILURE() << describe(error); });
  }
  void deliver(MediaTime time, int height = 48) { camera->sink(StampedFrames::moving(128, height, 9), time); }
  std::vector<std::string> end(FacecamCapturing& facecam) {
    facecam.stop();
    EXPECT_FALSE(camera->sink);
    runBlocking(facecam.finish());
    return facecam.warnings();
  }

  TemporaryFolder folder;
  std::filesystem::path file = folder / "x.facecam.mov";
};

TEST_F(FacecamCaptureTest, WritesWhatIsTakenBetweenItsStartAndItsStop) {
  const auto preview = broker->attachPreview();
  const auto facecam = make();
  EXPECT_TRUE(std::filesystem::exists(file));
  const auto before = HostClock::now();
  facecam->start();
  const auto begin = HostClock::now();
  deliver(before);  // taken for the preview, and late
  deliver(begin);
  deliver(begin + MediaTime{1, 30});
  EXPECT_THAT(end(*facecam), testing::IsEmpty());
  EXPECT_TRUE(camera->isStarted);  // the preview goes on
  EXPECT_EQ(facecam->startTime(), begin);
  EXPECT_GE(facecam->frameCount(), 2U);
  broker->release(preview);
}

TEST_F(FacecamCaptureTest, TellsOfACameraThatGoesAwayOrChanges) {
  auto facecam = make();
  facecam->start();
  camera->isPlugged = false;
  fail();
  EXPECT_THAT(end(*facecam), ElementsAre("facecam stopped during the recording — the camera went away"));
  EXPECT_EQ(facecam->frameCount(), 0U);
  EXPECT_FALSE(facecam->startTime().isValid());

  camera->isPlugged = true;
  std::filesystem::remove(file);
  facecam = make();
  facecam->start();
  deliver(HostClock::now());
  deliver(HostClock::now(), 64);
  EXPECT_THAT(end(*facecam),
              ElementsAre("facecam stopped during the recording — the camera's picture changed its size"));
}

TEST_F(FacecamCaptureTest, LetsGoOfACameraThatItDoesNotUse) {
  make();
  EXPECT_FALSE(camera->isOpen);
  EXPECT_THROW(make(), FragmentedMP4Writer::WriterError);  // the file of the one before
  EXPECT_FALSE(camera->isOpen);
  std::filesystem::remove(file);
  camera->isPlugged = false;
  EXPECT_THROW(make(), FacecamError);
  EXPECT_FALSE(std::filesystem::exists(file));
}

}  // namespace

}  // namespace quillant
