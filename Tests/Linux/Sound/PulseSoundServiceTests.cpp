#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <mutex>

#include "CaptureEngine/MicError.h"
#include "CaptureEngine/SystemAudioError.h"
#include "Core/HostClock.h"
#include "Linux/Sound/PulseSoundService.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/SoundServer.h"

namespace quillant {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What a stream delivered, on whatever thread.
class Recorded {
 public:
  struct Piece {
    MediaTime arrival;
    AudioBuffer buffer;
  };

  SoundService::BufferCallback callback() {
    return [this](AudioBuffer buffer) {
      const std::lock_guard lock(lock_);
      pieces_.push_back({HostClock::now(), std::move(buffer)});
    };
  }
  std::vector<Piece> pieces() const {
    const std::lock_guard lock(lock_);
    return pieces_;
  }
  void clear() {
    const std::lock_guard lock(lock_);
    pieces_.clear();
  }
  /// When a tone was first heard; invalid until then.
  MediaTime onset() const {
    for (const auto& [arrival, buffer] : pieces()) {
      const auto loud = std::find_if(buffer.samples.begin(), buffer.samples.end(),
                                     [](float sample) { return std::abs(sample) > 0.1F; });
      if (loud != buffer.samples.end())
        return buffer.time + MediaTime{(loud - buffer.samples.begin()) / buffer.channels, buffer.sampleRate};
    }
    return MediaTime::invalid();
  }
  bool hears() const { return onset().isValid(); }

 private:
  mutable std::mutex lock_;
  std::vector<Piece> pieces_;
};

class PulseSoundServiceTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!SoundServer::isAvailable()) GTEST_SKIP() << "there is no pulseaudio";
    server.emplace();
    server->enter();
  }

  std::optional<SoundServer> server;
  PulseSoundService service;
  Recorded microphone;
  Recorded system;
};

TEST_F(PulseSoundServiceTest, StampsBothSourcesWithTheTimeOfTheSound) {
  // The microphone hears what the output plays, so that both must tell the same time of it.
  server->control(
      {"load-module", "module-remap-source", "source_name=echo", "master=sys.monitor", "channels=1"});
  const auto mic = service.makeMicrophone("echo", microphone.callback());
  const auto output = service.makeSystemAudio(system.callback());
  EXPECT_THAT(microphone.pieces(), IsEmpty());
  mic->start();
  output->start();
  const auto tone = server->playTone("sys");
  ASSERT_TRUE(eventually([&] { return microphone.hears() && system.hears(); }));
  ASSERT_TRUE(eventually([&] { return system.pieces().size() > 100; }));
  mic->stop();
  output->stop();
  const auto count = system.pieces().size();

  EXPECT_NEAR(microphone.onset().seconds(), system.onset().seconds(), 0.04);
  for (const auto* source : {&microphone, &system}) {
    const int channels = source == &microphone ? 1 : 2;
    MediaTime end = MediaTime::invalid();
    for (const auto& [arrival, buffer] : source->pieces()) {
      EXPECT_EQ(buffer.channels, channels);
      EXPECT_EQ(buffer.sampleRate, 48'000);
      // A machine that is too busy delivers late and may lose sound, but nothing comes twice or from later.
      EXPECT_LT((buffer.time - arrival).seconds(), 0.1);
      EXPECT_GT(buffer.time.seconds(), (end.isValid() ? end : buffer.time).seconds() - 0.02);
      end = buffer.time + MediaTime{buffer.frameCount(), buffer.sampleRate};
    }
  }
  EXPECT_EQ(system.pieces().size(), count);  // silent once it was stopped
  EXPECT_THAT(mic->warnings(), IsEmpty());
  EXPECT_THAT(output->warnings(), IsEmpty());
}

TEST_F(PulseSoundServiceTest, FollowsTheDefaultDevicesAndLeavesTheUnpluggedOnes) {
  server->control({"load-module", "module-null-sink", "sink_name=feed2", "norewinds=1"});
  const auto module = server->control(
      {"load-module", "module-remap-source", "source_name=headset", "master=feed2.monitor", "channels=1"});
  const auto devices = service.devices();
  EXPECT_EQ(devices.defaultSink, "sys");
  EXPECT_EQ(devices.defaultSource, "mic");

  const auto mic = service.makeMicrophone("headset", microphone.callback());
  const auto output = service.makeSystemAudio(system.callback());
  mic->start();
  output->start();
  const auto tone = server->playTone("feed2");
  EXPECT_TRUE(eventually([&] { return microphone.hears(); }));
  EXPECT_FALSE(system.hears());
  server->control({"set-default-sink", "feed2"});
  EXPECT_TRUE(eventually([&] { return system.hears(); }));

  server->control({"unload-module", module.substr(0, module.find('\n'))});
  microphone.clear();
  EXPECT_TRUE(eventually([&] { return !microphone.pieces().empty(); }));
  const auto toneOfTheDefault = server->playTone("micfeed");
  EXPECT_TRUE(eventually([&] { return microphone.hears(); }));
  mic->stop();
  output->stop();
  EXPECT_THAT(mic->warnings(), IsEmpty());
  EXPECT_THAT(output->warnings(), IsEmpty());
}

TEST_F(PulseSoundServiceTest, EndsItsSourcesWithAWarningWhenTheServerGoes) {
  const auto mic = service.makeMicrophone(std::nullopt, microphone.callback());
  const auto output = service.makeSystemAudio(system.callback());
  mic->start();
  output->start();
  EXPECT_TRUE(eventually([&] { return !microphone.pieces().empty() && !system.pieces().empty(); }));
  server->kill();
  EXPECT_TRUE(eventually([&] { return !mic->warnings().empty() && !output->warnings().empty(); }));
  mic->stop();
  output->stop();
  EXPECT_THAT(mic->warnings(),
              ElementsAre("microphone stopped during the recording — the sound server went away"));
  EXPECT_THAT(output->warnings(),
              ElementsAre("system audio stopped during the recording — the sound server went away"));

  // The next recording finds the next server.
  server.emplace();
  server->enter();
  microphone.clear();
  const auto next = service.makeMicrophone(std::nullopt, microphone.callback());
  next->start();
  EXPECT_TRUE(eventually([&] { return !microphone.pieces().empty(); }));
}

TEST_F(PulseSoundServiceTest, WarnsOfADeviceThatGoesWithoutAnother) {
  const auto mic = service.makeMicrophone(std::nullopt, microphone.callback());
  server->control({"unload-module", "module-remap-source"});
  EXPECT_TRUE(eventually([&] { return !mic->warnings().empty(); }));
  mic->stop();
  EXPECT_THAT(mic->warnings(), ElementsAre("microphone stopped during the recording — its device went away"));
  try {
    service.makeMicrophone(std::nullopt, microphone.callback());
    ADD_FAILURE() << "a monitor was taken for a microphone";
  } catch (const MicError& error) {
    EXPECT_EQ(error.description(), "no microphone device available");
  }
}

TEST_F(PulseSoundServiceTest, SaysThatThereIsNoServer) {
  server.reset();
  EXPECT_TRUE(runBlocking(service.requestMicrophoneAccess()));
  EXPECT_THAT(service.devices().sources, IsEmpty());
  EXPECT_THROW(service.makeMicrophone(std::nullopt, microphone.callback()), MicError);
  try {
    service.makeSystemAudio(system.callback());
    ADD_FAILURE() << "sound came from nowhere";
  } catch (const SystemAudioError& error) {
    EXPECT_EQ(error.description(),
              "system audio cannot be recorded: no sound server answers: Connection refused");
  }
}

}  // namespace

}  // namespace quillant
