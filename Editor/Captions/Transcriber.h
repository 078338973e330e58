#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "Editor/Captions/SpeechRecognizing.h"

namespace quillant {

/// The recognisers of this machine.
struct SpeechEngines {
  std::shared_ptr<SpeechRecognizing>
      modern;  ///< A better one that the user installed; null where there is none.
  std::shared_ptr<SpeechRecognizing> legacy;  ///< Always there.
};

/// Turns one audio track of a file into words with their times. Sound never leaves the machine.
class Transcriber {
 public:
  explicit Transcriber(SpeechEngines engines) : engines_(std::move(engines)) {}

  /// `track` counts the file's audio tracks; `name` is how the user knows it. `progress` takes 0 to 1, on any
  /// thread. The sound is first brought to 16 kHz mono in a temporary file, which is gone at the end whatever
  /// happens. Blocking, for minutes: not for a thread that somebody waits for. None if it was stopped. Throws
  /// `TranscriptionError`.
  std::optional<RecognizedSpeech> transcribe(const std::filesystem::path& file, int track,
                                             const std::string& name,
                                             const std::function<void(double)>& progress,
                                             std::stop_token stop = {}) const;

 private:
  SpeechRecognizing& engine() const;

  SpeechEngines engines_;
};

}  // namespace quillant
