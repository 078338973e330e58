#pragma once

#include <filesystem>
#include <memory>

#include "Core/SystemLanguage.h"
#include "Editor/Captions/SpeechRecognizing.h"

namespace quillant {

/// The recogniser that the user installed beside Quillant: an engine, and a model that it can use.
namespace InstalledSpeech {

/// Where to look.
struct Places {
  std::filesystem::path model;   ///< What `QUILLANT_SPEECH_MODEL` names; empty: nothing is named.
  std::filesystem::path models;  ///< A folder of models for each language, as "en" or "pt-BR".
  std::filesystem::path kaldiLibrary = "libvosk.so";     ///< As the system's linker finds it.
  std::filesystem::path whisperProgram = "whisper-cli";  ///< As it is found on PATH.

  static Places ofUser();
};

/// The engine for a language; null where none is installed, or no model of the language. A model is a folder
/// of Kaldi's or a file of whisper.cpp's; in a language's folder the first one counts, by name, that there is
/// an engine for. A model that is named counts alone, for whatever language is asked for; if it cannot be
/// used, the log says so. Blocking, for a moment.
std::shared_ptr<SpeechRecognizing> find(const Places& places, const SystemLanguage& language);

}  // namespace InstalledSpeech
}  // namespace quillant
