#pragma once

#include <filesystem>
#include <optional>

namespace quillant {

/// Kaldi's recogniser behind the small C interface of `libvosk`, opened at run time: it is the user's, and
/// nothing of it is needed to build Quillant. Its functions keep the names that they have there, without the
/// prefix.
struct KaldiLibrary {
  struct Model;
  struct Recognizer;

  void (*setLogLevel)(int level) = nullptr;
  /// Null if the folder holds no model.
  Model* (*newModel)(const char* folder) = nullptr;
  void (*freeModel)(Model*) = nullptr;
  /// Null if there is no memory for it. A model may have many.
  Recognizer* (*newRecognizer)(Model*, float sampleRate) = nullptr;
  void (*setWords)(Recognizer*, int on) = nullptr;
  /// Takes 16-bit samples, mono. 1 at the end of an utterance, whose `result` is then to be taken; negative
  /// on failure.
  int (*acceptWaveform)(Recognizer*, const char* samples, int bytes) = nullptr;
  /// JSON; good until the next call.
  const char* (*result)(Recognizer*) = nullptr;
  const char* (*finalResult)(Recognizer*) = nullptr;
  void (*freeRecognizer)(Recognizer*) = nullptr;

  /// None where there is no such library, or one that lacks a function, which the log says. A name without a
  /// folder is looked for where the system's linker looks. What was opened stays until the process ends: a
  /// library with threads of its own cannot be taken away safely. Any thread.
  static std::optional<KaldiLibrary> open(const std::filesystem::path& file);
};

}  // namespace quillant
