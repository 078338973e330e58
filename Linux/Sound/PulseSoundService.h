#pragma once

#include <chrono>
#include <memory>
#include <mutex>

#include "CaptureEngine/SoundService.h"
#include "Linux/Sound/SoundDevices.h"

namespace quillant {

class PulseConnection;

/// The sound of the server that PULSE_SERVER or the user's session names. Nothing is connected while nothing
/// is recorded. Safe on any thread.
class PulseSoundService : public SoundService {
 public:
  /// A server that does not answer for as long as `patience` counts as gone.
  explicit PulseSoundService(std::chrono::microseconds patience = std::chrono::seconds(10))
      : patience_(patience) {}

  /// What there is to record from; empty without a server.
  SoundDevices devices();

  /// False if the server refuses this program.
  Task<bool> requestMicrophoneAccess() override;
  std::unique_ptr<SoundStream> makeMicrophone(const std::optional<std::string>& preferredDeviceID,
                                              BufferCallback onBuffer) override;
  /// From the default output, what this program plays included: the server cannot leave a client out. Throws
  /// `SystemAudioError`.
  std::unique_ptr<SoundStream> makeSystemAudio(BufferCallback onBuffer) override;

 private:
  std::shared_ptr<PulseConnection> connection();

  const std::chrono::microseconds patience_;
  std::mutex lock_;
  std::weak_ptr<PulseConnection> connection_;
};

}  // namespace quillant
