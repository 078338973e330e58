#include "Linux/Speech/PocketSphinxRecognizer.h"

#include <cstdint>
#include <memory>
#include <pocketsphinx.h>
#include <span>
#include <string_view>
#include <system_error>
#include <utility>

#include "Core/SystemLanguage.h"
#include "Editor/Captions/TranscriptionError.h"
#include "Linux/Speech/HeardWord.h"
#include "Linux/Speech/SpeechSound.h"

namespace quillant {

namespace {

constexpr double enginePerSecond = 100;
constexpr const char* language = "en-US";

struct Free {
  void operator()(ps_decoder_t* decoder) const { ps_free(decoder); }
};
using Decoder = std::unique_ptr<ps_decoder_t, Free>;

Decoder open(const std::filesystem::path& models) {
  const auto folder = models / "en-us";
  const auto acoustic = (folder / "en-us").string();
  const auto words = (folder / "en-us.lm.bin").string();
  const auto dictionary = (folder / "cmudict-en-us.dict").string();
  // Silences are cut off before, and times must not skip what the engine would. With beams that are wider
  // than its own it makes fewer mistakes.
  cmd_ln_t* settings = cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", acoustic.c_str(), "-lm", words.c_str(),
                                   "-dict", dictionary.c_str(), "-remove_silence", "no", "-beam", "1e-60",
                                   "-wbeam", "1e-40", "-logfn", "/dev/null", nullptr);
  if (!settings) return nullptr;
  Decoder decoder(ps_init(settings));
  cmd_ln_free_r(settings);
  return decoder;
}

void decode(ps_decoder_t& decoder, std::span<const std::int16_t> samples, double start,
            std::vector<TimelineCaptionWord>& words) {
  ps_start_stream(&decoder);
  ps_start_utt(&decoder);
  ps_process_raw(&decoder, samples.data(), samples.size(), FALSE, TRUE);
  ps_end_utt(&decoder);
  for (auto* segment = ps_seg_iter(&decoder); segment; segment = ps_seg_next(segment)) {
    int first = 0;
    int last = 0;
    ps_seg_frames(segment, &first, &last);
    // Variants of a pronunciation, as "the(2)", are one word.
    const std::string_view variant = ps_seg_word(segment);
    if (auto word = HeardWord::of(variant.substr(0, variant.find('(')), start + first / enginePerSecond,
                                  start + (last + 1) / enginePerSecond))
      words.push_back(std::move(*word));
  }
}

}  // namespace

PocketSphinxRecognizer::PocketSphinxRecognizer(std::filesystem::path models) : models_(std::move(models)) {}

RecognizedSpeech PocketSphinxRecognizer::recognize(const Request& request) {
  const auto wanted = SystemLanguage::current();
  std::error_code failed;
  if (wanted.language() != "en" || !std::filesystem::exists(models_ / "en-us", failed))
    throw TranscriptionError::languageUnsupported(wanted.displayName());
  const auto decoder = open(models_);
  if (!decoder) throw TranscriptionError::failed(request.name, "the speech model cannot be loaded");

  RecognizedSpeech speech{.language = language, .words = {}};
  SpeechSound(request).forEachStretch([&](double start, std::span<const std::int16_t> samples) {
    decode(*decoder, samples, start, speech.words);
  });
  return speech;
}

}  // namespace quillant
