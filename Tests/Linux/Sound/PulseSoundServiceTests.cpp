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
using testing::ThrowsMessage;

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
  /// When a tone was first heard in what arrived after `begin`; invalid until then.
  MediaTime onset(MediaTime begin = MediaTime::zero()) const {
    for (const auto& [arrival, buffer] : pieces()) {
      if (arrival < begin) continue;
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
  std::unique_ptr<SoundStream> startMicrophone(const std::optional<std::string>& device = std::nullopt) {
    auto stream = service.makeMicrophone(device, microphone.callback());
    stream->start();
    return stream;
  }
  std::unique_ptr<SoundStream> startSystemAudio() {
    auto stream = service.makeSystemAudio(system.callback());
    stream->start();
    return stream;
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
  const auto mic = startMicrophone("echo");
  const auto output = startSystemAudio();
  const auto tone = server->playTone("sys");
  ASSERT_TRUE(eventually([&] { return microphone.hears() && system.hears(); }));
  ASSERT_TRUE(eventually([&] { return system.pieces().size() > 100; }));
  mic->stop();
  output->stop();
  const auto count = system.pieces().size();

  EXPECT_NEAR(microphone.onset().seconds(), system.onset().seconds(), 0.04);
  for (const auto* source : {&microphone, &system}) {
    MediaTime end = MediaTime::zero();
    for (const auto& [arrival, buffer] : source->pieces()) {
      EXPECT_EQ(buffer.channels, source == &microphone ? 1 : 2);
      // A machine that is too busy delivers late and may lose sound, but nothing comes twice or from later.
      EXPECT_LT((buffer.time - arrival).seconds(), 0.1);
      EXPECT_GT(buffer.time.seconds(), end.seconds() - 0.02);
      end = buffer.time + MediaTime{buffer.frameCount(), buffer.sampleRate};
    }
  }
  EXPECT_EQ(system.pieces().size(), count);  // silent once it was stopped
}

TEST_F(PulseSoundServiceTest, FollowsTheDefaultDevicesAndLeavesTheUnpluggedOnes) {
  server->control({"load-module", "module-null-sink", "sink_name=feed2", "norewinds=1"});
  const auto headset = server->control(
      {"load-module", "module-remap-source", "source_name=headset", "master=feed2.monitor", "channels=1"});
  const auto mic = startMicrophone("headset");
  const auto output = startSystemAudio();
  const auto tone = server->playTone("feed2");
  EXPECT_TRUE(eventually([&] { return microphone.hears(); }));
  EXPECT_FALSE(system.hears());
  server->control({"set-default-sink", "feed2"});
  EXPECT_TRUE(eventually([&] { return system.hears(); }));

  server->control({"unload-module", headset.substr(0, headset.find('\n'))});
  const auto later = HostClock::now() + MediaTime{1, 2};  // within the silence before the other tone
  const auto toneOfTheDefault = server->playTone("micfeed");
  EXPECT_TRUE(eventually([&] { return microphone.onset(later).isValid(); }));
  server->control({"unload-module", "module-remap-source"});
  EXPECT_TRUE(eventually([&] { return !mic->warnings().empty(); }));
  mic->stop();
  output->stop();
  EXPECT_THAT(mic->warnings(), ElementsAre("microphone stopped during the recording — its device went away"));
  EXPECT_THAT(output->warnings(), IsEmpty());
  // A monitor is no microphone.
  EXPECT_THAT([&] { startMicrophone(); }, ThrowsMessage<MicError>("no microphone device available"));
}

TEST_F(PulseSoundServiceTest, EndsItsSourcesWithTheServerAndFindsTheNext) {
  const auto mic = startMicrophone();
  const auto output = startSystemAudio();
  const auto stoppedEarlier = startMicrophone();
  ASSERT_TRUE(eventually([&] { return !microphone.pieces().empty(); }));
  server->hang();
  PulseSoundService impatient(std::chrono::milliseconds(100));
  EXPECT_THAT(
      [&] { impatient.makeSystemAudio(system.callback()); },
      ThrowsMessage<SystemAudioError>("system audio cannot be recorded: no sound server answers: Timeout"));
  EXPECT_TRUE(eventually([&] {
    return HostClock::now() - microphone.pieces().back().arrival > MediaTime{5, 2};
  }));
  stoppedEarlier->stop();
  EXPECT_THAT(stoppedEarlier->warnings(),
              ElementsAre("microphone stopped during the recording — no sound came from it"));
  server->kill();
  EXPECT_TRUE(eventually([&] { return !mic->warnings().empty() && !output->warnings().empty(); }));
  mic->stop();
  output->stop();
  EXPECT_THAT(mic->warnings(),
              ElementsAre("microphone stopped during the recording — the sound server went away"));
  EXPECT_THAT(output->warnings(),
              ElementsAre("system audio stopped during the recording — the sound server went away"));

  EXPECT_TRUE(runBlocking(service.requestMicrophoneAccess()));
  EXPECT_THAT(service.devices().sources, IsEmpty());
  EXPECT_THAT([&] { startMicrophone(); }, ThrowsMessage<MicError>("no microphone device available"));
  EXPECT_THAT([&] { startSystemAudio(); },
              ThrowsMessage<SystemAudioError>(
                  "system audio cannot be recorded: no sound server answers: Connection refused"));

  server.emplace();
  server->enter();
  const auto count = microphone.pieces().size();
  const auto next = startMicrophone();
  EXPECT_TRUE(eventually([&] { return microphone.pieces().size() > count; }));
}

}  // namespace

}  // namespace quillant
