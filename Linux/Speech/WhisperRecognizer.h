#pragma once

#include <filesystem>
#include <string>

#include "Editor/Captions/SpeechRecognizing.h"

namespace quillant {

/// Speech by the program of whisper.cpp, `whisper-cli`, and a model, which the user installed. A cancellation
/// ends the program at once.
class WhisperRecognizer final : public SpeechRecognizing {
 public:
  /// `program` is found on PATH, and `language`, BCP 47, is what is spoken.
  WhisperRecognizer(std::filesystem::path program, std::filesystem::path model, std::string language);

  RecognizedSpeech recognize(const Request& request) override;

 private:
  std::filesystem::path program_;
  std::filesystem::path model_;
  std::string language_;
};

}  // namespace quillant
