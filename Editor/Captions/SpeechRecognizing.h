#pragma once

#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

#include "Editor/Timeline/TimelineCaptions.h"

namespace quillant {

/// What was said in a sound.
struct RecognizedSpeech {
  std::string language;                    ///< BCP 47, as it was recognised.
  std::vector<TimelineCaptionWord> words;  ///< By start.

  friend bool operator==(const RecognizedSpeech&, const RecognizedSpeech&) = default;
};

/// An engine that turns speech into words with their times, on this machine and nowhere else: no
/// implementation opens a connection to a network.
class SpeechRecognizing {
 public:
  virtual ~SpeechRecognizing() = default;

  struct Request {
    std::filesystem::path sound;           ///< 16,000 Hz, mono, 32-bit float.
    double duration = 0;                   ///< Seconds; 0 if it is not known.
    std::string name;                      ///< How the user knows the sound, for errors.
    std::function<void(double)> progress;  ///< Takes 0 to 1. Any thread.
    std::stop_token stop;
  };
  /// Speech in the system's language. Blocking, for minutes. Silence is no words. Ends early with what it has
  /// when it is stopped. Throws `TranscriptionError`.
  virtual RecognizedSpeech recognize(const Request& request) = 0;
};

}  // namespace quillant
