#pragma once

#include <filesystem>
#include <string>

#include "Editor/Captions/SpeechRecognizing.h"
#include "Linux/Speech/KaldiLibrary.h"

namespace quillant {

/// Speech by a library and a model of Kaldi that the user installed. A cancellation waits until the library
/// has heard a quarter of a second, or has loaded its model.
class KaldiRecognizer final : public SpeechRecognizing {
 public:
  /// `model` is a folder, and `language`, BCP 47, what is spoken in it.
  KaldiRecognizer(KaldiLibrary library, std::filesystem::path model, std::string language);

  RecognizedSpeech recognize(const Request& request) override;

 private:
  KaldiLibrary library_;
  std::filesystem::path model_;
  std::string language_;
};

}  // namespace quillant
