#include "Linux/Speech/KaldiRecognizer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "Core/JSON.h"
#include "Editor/Captions/TranscriptionError.h"
#include "Linux/Speech/HeardWord.h"
#include "Linux/Speech/SpeechSound.h"

namespace quillant {

namespace {

constexpr std::size_t blockLength = SpeechSound::sampleRate / 4;
constexpr std::size_t longestAnswer = 1 << 20;  ///< Bytes; a stretch of half a minute has some 10,000.

/// A word of an answer. Its times are seconds since the recogniser's first sample.
struct Word {
  double start = 0;
  double end = 0;
  std::string word;
};

void from_json(const Json& json, Word& word) {
  word = {.start = JSON::required<double>(json, "start"),
          .end = JSON::required<double>(json, "end"),
          .word = JSON::required<std::string>(json, "word")};
  if (!std::isfinite(word.start) || !std::isfinite(word.end))
    throw JSONError(JSONError::Kind::invalidValue, "a time that is none");
}

void append(const char* answer, double start, std::vector<TimelineCaptionWord>& words) {
  if (answer == nullptr || ::strnlen(answer, longestAnswer) == longestAnswer)
    throw JSONError(JSONError::Kind::malformed, "no answer");
  // Silence has no list at all.
  for (const auto& heard : JSON::orDefault(JSON::parse(answer), "result", std::vector<Word>()))
    if (auto word = HeardWord::of(heard.word, start + std::max(0.0, heard.start), start + heard.end))
      words.push_back(std::move(*word));
}

}  // namespace

KaldiRecognizer::KaldiRecognizer(KaldiLibrary library, std::filesystem::path model, std::string language)
    : library_(library), model_(std::move(model)), language_(std::move(language)) {}

RecognizedSpeech KaldiRecognizer::recognize(const Request& request) {
  const auto fail = [&](std::string_view reason) { throw TranscriptionError::failed(request.name, reason); };
  RecognizedSpeech speech{.language = language_, .words = {}};
  library_.setLogLevel(-1);
  const std::unique_ptr<KaldiLibrary::Model, void (*)(KaldiLibrary::Model*)> model(
      library_.newModel(model_.c_str()), library_.freeModel);
  if (!model) fail("the speech model cannot be loaded");

  SpeechSound(request).forEachStretch([&](double start, std::span<const std::int16_t> samples) {
    // A new one for each stretch: its times begin at 0, and what came before does not colour what it hears.
    const std::unique_ptr<KaldiLibrary::Recognizer, void (*)(KaldiLibrary::Recognizer*)> recognizer(
        library_.newRecognizer(model.get(), SpeechSound::sampleRate), library_.freeRecognizer);
    if (!recognizer) fail("the speech recognizer cannot be started");
    library_.setWords(recognizer.get(), 1);
    try {
      while (!samples.empty()) {
        if (request.stop.stop_requested()) return;
        const auto block = samples.first(std::min(samples.size(), blockLength));
        samples = samples.subspan(block.size());
        const int ended =
            library_.acceptWaveform(recognizer.get(), reinterpret_cast<const char*>(block.data()),
                                    static_cast<int>(block.size_bytes()));
        if (ended < 0) fail("the speech recognizer stopped");
        if (ended > 0) append(library_.result(recognizer.get()), start, speech.words);
      }
      append(library_.finalResult(recognizer.get()), start, speech.words);
    } catch (const JSONError&) {
      fail("the speech recognizer's answer cannot be read");
    }
  });
  return speech;
}

}  // namespace quillant
