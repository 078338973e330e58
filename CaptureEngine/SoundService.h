#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Core/Task.h"
#include "MediaKit/Sound/AudioBuffer.h"

namespace quillant {

/// A source of sound that a session records.
class SoundStream {
 public:
  virtual ~SoundStream() = default;  ///< Stops.
  virtual void start() = 0;          ///< Throws an `Error`.
  virtual void stop() = 0;           ///< No buffer is delivered once this has returned; idempotent.
  /// What the user should know of a stream that ended or left sound out before it was stopped; read after
  /// `stop`.
  virtual std::vector<std::string> warnings() = 0;
};

/// The machine's sound as the capture engine needs it: 48,000 Hz, stamped on the host clock at capture.
class SoundService {
 public:
  using BufferCallback = std::function<void(AudioBuffer)>;  ///< On a thread of the stream's own.

  virtual ~SoundService() = default;
  virtual Task<bool> requestMicrophoneAccess() = 0;
  /// One channel. A preferred device that is gone falls back to the default one. Throws `MicError`.
  virtual std::unique_ptr<SoundStream> makeMicrophone(const std::optional<std::string>& preferredDeviceID,
                                                      BufferCallback onBuffer) = 0;
  /// Two channels: what the machine plays. Throws an `Error`.
  virtual std::unique_ptr<SoundStream> makeSystemAudio(BufferCallback onBuffer) = 0;
};

}  // namespace quillant
