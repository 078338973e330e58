#pragma once

#include <filesystem>

#include "Editor/Captions/SpeechRecognizing.h"

namespace quillant {

/// English speech by PocketSphinx, with the model that its package brings. Slower and less exact than what a
/// user may install, and always there.
class PocketSphinxRecognizer final : public SpeechRecognizing {
 public:
  /// `models` holds a folder a language.
  explicit PocketSphinxRecognizer(std::filesystem::path models);

  RecognizedSpeech recognize(const Request& request) override;

 private:
  std::filesystem::path models_;
};

}  // namespace quillant
