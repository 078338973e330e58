#include <atomic>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <mutex>
#include <string>

#include "CaptureEngine/FacecamError.h"
#include "Core/HostClock.h"
#include "Linux/Camera/CameraDevices.h"
#include "Linux/Camera/DeviceCameraSession.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

namespace {

struct Received {
  MediaTime arrival;
  MediaTime time;
  PixelBufferRef picture;
};

class DeviceCameraSessionTest : public testing::Test {
 protected:
  static void use(const std::string& source) { ::setenv("QUILLANT_CAMERA", source.c_str(), 1); }
  void listen() {
    session.setSink([this](PixelBufferRef picture, MediaTime time) {
      const std::lock_guard lock(mutex);
      received.push_back({HostClock::now(), time, std::move(picture)});
    });
  }
  std::vector<Received> frames() {
    const std::lock_guard lock(mutex);
    return received;
  }
  void TearDown() override {
    session.stop();
    ::unsetenv("QUILLANT_CAMERA");
  }

  std::mutex mutex;
  std::vector<Received> received;
  DeviceCameraSession session;
};

TEST_F(DeviceCameraSessionTest, DeliversFramesAtTheirPaceOnTheHostClock) {
  use("lavfi:color=red:size=321x240:rate=50,format=yuv444p");
  EXPECT_EQ(session.ensureInput(), (CameraFormat{320, 240}));
  const auto begin = HostClock::now();
  listen();
  session.start();
  ASSERT_TRUE(eventually([&] { return frames().size() >= 25; }));
  session.stop();
  const auto all = frames();
  EXPECT_GE(all.back().arrival - begin, MediaTime(24, 50));
  for (std::size_t i = 0; i < all.size(); ++i) {
    const auto& [arrival, time, picture] = all[i];
    EXPECT_GE(time, begin);
    EXPECT_LE(time, arrival);
    if (i > 0) {
      EXPECT_GE(time - all[i - 1].time, MediaTime(1, 51)) << "frame " << i;
    }
    ASSERT_EQ(picture->format, PixelFormat::i420);
    ASSERT_EQ(picture->width, 320);
    // Red in the matrix of high definition, within the limited range.
    EXPECT_NEAR(picture->planes[0].data[0], 63, 3);
    EXPECT_NEAR(picture->planes[1].data[0], 102, 3);
    EXPECT_NEAR(picture->planes[2].data[0], 240, 3);
  }
  EXPECT_EQ(frames().size(), all.size());
}

TEST_F(DeviceCameraSessionTest, StopsACameraThatNeverDelivers) {
  use("lavfi:testsrc2=size=320x240:rate=30,setpts=PTS+3600/TB");
  listen();
  session.start();
  EXPECT_TRUE(session.isRunning());
  session.stop();
  EXPECT_FALSE(session.isRunning());
  EXPECT_THAT(frames(), testing::IsEmpty());
}

TEST_F(DeviceCameraSessionTest, TellsWhenTheCameraEnds) {
  use("lavfi:testsrc2=size=320x240:rate=30:duration=0.2");
  std::atomic<int> errors = 0;
  session.setOnRuntimeError([&] { ++errors; });
  listen();
  session.start();
  EXPECT_TRUE(eventually([&] { return errors == 1; }));
  EXPECT_EQ(frames().size(), 6U);
  session.stop();
  session.start();  // a second try, as the broker makes
  EXPECT_TRUE(eventually([&] { return errors == 2; }));
  session.stop();
  // Whatever a receiver throws, and though there is no memory to tell of it at first.
  session.setSink([](const PixelBufferRef&, MediaTime) { throw std::bad_alloc(); });
  session.setOnRuntimeError([&] {
    if (++errors == 3) throw std::bad_alloc();
  });
  session.start();
  EXPECT_TRUE(eventually([&] { return errors == 4; }));
}

TEST_F(DeviceCameraSessionTest, TellsWhenTheCameraGivesNoWholeFrameAnyMore) {
  using namespace std::string_literals;
  const TemporaryFolder folder;
  std::ofstream file(folder / "broken.ivf", std::ios::binary);
  file << "DKIF\0\0 \0VP80\x40\x01\xF0\0\x1E\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0"s;
  for (int frame = 0; frame < 50'000; ++frame) file << "\1\0\0\0\0\0\0\0\0\0\0\0x"s;
  file.close();
  use("ivf:" + (folder / "broken.ivf").string());
  std::atomic<int> errors = 0;
  session.setOnRuntimeError([&] { ++errors; });
  listen();
  session.start();
  EXPECT_TRUE(eventually([&] { return errors == 1; }));
  EXPECT_THAT(frames(), testing::IsEmpty());
}

TEST_F(DeviceCameraSessionTest, SaysWhichCameraItCannotUse) {
  struct Case {
    const char* source;
    FacecamError::Kind kind;
  };
  for (const auto& [source, kind] : {
           Case{"v4l2:/dev/null", FacecamError::Kind::cannotConfigure},
           Case{"v4l2:/dev/video-of-nobody", FacecamError::Kind::noCamera},
           Case{"nonsense", FacecamError::Kind::noCamera},
           Case{"lavfi:anullsrc", FacecamError::Kind::cannotConfigure},
       }) {
    use(source);
    try {
      session.ensureInput();
      ADD_FAILURE() << source;
    } catch (const FacecamError& error) {
      EXPECT_EQ(error.kind(), kind) << source;
    }
  }
  ::unsetenv("QUILLANT_CAMERA");
  if (CameraDevices::available().empty()) {
    EXPECT_THROW(session.ensureInput(), FacecamError);
  }
}

TEST(CameraDevicesTest, FallsBackToTheFirst) {
  const CameraDevices::Info first{"a", "A"};
  const CameraDevices::Info second{"b", "B"};
  EXPECT_EQ(CameraDevices::resolve({first, second}, "b"), second);
  EXPECT_EQ(CameraDevices::resolve({first, second}, "gone"), first);
  EXPECT_EQ(CameraDevices::resolve({first, second}, std::nullopt), first);
  EXPECT_EQ(CameraDevices::resolve({}, "b"), std::nullopt);
}

}  // namespace

}  // namespace quillant
