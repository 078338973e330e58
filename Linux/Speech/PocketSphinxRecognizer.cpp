#include "Linux/Speech/PocketSphinxRecognizer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <pocketsphinx.h>
#include <string_view>
#include <system_error>
#include <utility>

#include "Core/SystemLanguage.h"
#include "Editor/Captions/TranscriptionError.h"
#include "Linux/Speech/SpeechSpans.h"
#include "MediaKit/Reading/SoundReader.h"

namespace quillant {

namespace {

constexpr SoundFormat format{16'000, 1};
constexpr std::size_t levelFrames =
    160;  ///< A hundredth of a second, as `SpeechSpans` wants and as the engine counts.
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
  // Silences are cut off before, and times must not skip what the engine would.
  cmd_ln_t* settings =
      cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", acoustic.c_str(), "-lm", words.c_str(), "-dict",
                  dictionary.c_str(), "-remove_silence", "no", "-logfn", "/dev/null", nullptr);
  if (!settings) return nullptr;
  Decoder decoder(ps_init(settings));
  cmd_ln_free_r(settings);
  return decoder;
}

std::vector<float> levels(SoundReader& reader) {
  std::vector<float> levels;
  std::vector<float> buffer(levelFrames * 512);
  while (const auto frames = reader.read(buffer)) {
    for (std::size_t first = 0; first < frames; first += levelFrames) {
      const auto end = std::min(first + levelFrames, frames);
      double power = 0;
      for (auto i = first; i < end; ++i) power += double(buffer[i]) * buffer[i];
      levels.push_back(static_cast<float>(std::sqrt(power / static_cast<double>(end - first))));
    }
  }
  return levels;
}

/// What the engine calls words: fillers and silences are left out, variants of a pronunciation are one word.
std::optional<std::string> spoken(std::string_view word) {
  if (word.starts_with('<') || word.starts_with('[') || word.starts_with("++")) return std::nullopt;
  word = word.substr(0, word.find('('));
  if (word.empty()) return std::nullopt;
  return std::string(word);
}

void decode(ps_decoder_t& decoder, const std::vector<std::int16_t>& samples, double start,
            std::vector<TimelineCaptionWord>& words) {
  ps_start_stream(&decoder);
  ps_start_utt(&decoder);
  ps_process_raw(&decoder, samples.data(), samples.size(), FALSE, TRUE);
  ps_end_utt(&decoder);
  for (auto* segment = ps_seg_iter(&decoder); segment; segment = ps_seg_next(segment)) {
    const auto text = spoken(ps_seg_word(segment));
    if (!text) continue;
    int first = 0;
    int last = 0;
    ps_seg_frames(segment, &first, &last);
    words.push_back({start + first / enginePerSecond, start + (last + 1) / enginePerSecond, *text});
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
  try {
    SoundReader reader(request.sound, 0, format);
    for (const auto& span : SpeechSpans::find(levels(reader))) {
      if (request.stop.stop_requested()) return speech;
      reader.seek(static_cast<std::int64_t>(span.start * format.sampleRate + 0.5));
      std::vector<float> sound(static_cast<std::size_t>((span.end - span.start) * format.sampleRate));
      sound.resize(reader.read(sound));
      std::vector<std::int16_t> samples;
      samples.reserve(sound.size());
      for (const float value : sound)
        samples.push_back(static_cast<std::int16_t>(std::lround(std::clamp(value, -1.0F, 1.0F) * 32'767)));
      decode(*decoder, samples, span.start, speech.words);
      if (request.duration > 0) request.progress(std::min(1.0, span.end / request.duration));
    }
  } catch (const TranscriptionError&) {
    throw;
  } catch (const Error& error) {
    throw TranscriptionError::failed(request.name, error.description());
  }
  return speech;
}

}  // namespace quillant
