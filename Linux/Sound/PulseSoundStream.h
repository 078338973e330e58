#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CaptureEngine/SoundService.h"
#include "Linux/Sound/PulseConnection.h"
#include "Linux/Sound/SampleClock.h"

namespace quillant {

/// Records from whichever device is the right one at the time. Delivers on the connection's thread.
class PulseSoundStream : public SoundStream, private PulseConnection::Listener {
 public:
  struct Role {
    std::string name;  ///< As warnings call it.
    int channels = 1;
    /// The device to record from; nothing if there is none.
    std::function<std::optional<std::string>(const SoundDevices&)> chooseDevice;
  };

  /// Opens `device` and waits until sound comes from it; none is delivered before `start`. Throws
  /// `PulseError`.
  PulseSoundStream(std::shared_ptr<PulseConnection> connection, Role role, const std::string& device,
                   SoundService::BufferCallback onBuffer);
  ~PulseSoundStream() override;

  void start() override;
  void stop() override;
  std::vector<std::string> warnings() override;

 private:
  // Run in the client library's calls, through which nothing may be thrown.
  void devicesChanged(const SoundDevices& devices) noexcept override;
  void serverEnded() noexcept override;

  /// `stream_` stays null if the server refuses at once, and becomes null if it does so later.
  void open(const std::string& device);
  void close();
  /// Why it has stopped; what was told first is what started it.
  void warn(const char* reason) noexcept;
  void warnIfSilentUntil(MediaTime time) noexcept;
  void read();
  void deliver(const void* data, std::size_t bytes) noexcept;
  MediaTime timeOfNextSample(int frameCount) const;

  const std::shared_ptr<PulseConnection> connection_;
  const Role role_;
  const SoundService::BufferCallback onBuffer_;

  // Everything below is touched under the connection's lock.
  pa_stream* stream_ = nullptr;
  std::string device_;
  SampleClock clock_;
  bool isDelivering_ = false;
  bool isStopped_ = false;
  MediaTime heardUntil_;  ///< Where the sound so far ends, on the host clock.
  const char* whyStopped_ = nullptr;
};

}  // namespace quillant
