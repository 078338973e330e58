#include "Linux/Speech/PocketSphinxRecognizer.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <pocketsphinx.h>
#include <span>
#include <sphinxbase/fe.h>
#include <sphinxbase/feat.h>
#include <string_view>
#include <system_error>
#include <utility>

#include "Core/SystemLanguage.h"
#include "Editor/Captions/TranscriptionError.h"
#include "Linux/Speech/HeardWord.h"
#include "Linux/Speech/SpeechSound.h"

namespace quillant {

namespace {

using Request = SpeechRecognizing::Request;

constexpr int rowsASecond = 100;
constexpr std::size_t samplesARow = SpeechSound::sampleRate / rowsASecond;
constexpr std::size_t rowsABlock = 25;
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
  // than its own, and without the look ahead that leaves phones out, it makes fewer mistakes.
  cmd_ln_t* settings = cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", acoustic.c_str(), "-lm", words.c_str(),
                                   "-dict", dictionary.c_str(), "-remove_silence", "no", "-beam", "1e-60",
                                   "-wbeam", "1e-40", "-pl_window", "0", "-logfn", "/dev/null", nullptr);
  if (!settings) return nullptr;
  Decoder decoder(ps_init(settings));
  cmd_ln_free_r(settings);
  if (decoder) ps_get_feat(decoder.get())->cmn = CMN_NONE;  // `Cepstra` does it
  return decoder;
}

void check(int result, const Request& request) {
  if (result < 0) throw TranscriptionError::failed(request.name, "the speech recognizer stopped");
}

/// A stretch as the engine's search takes it: a row of cepstra for each hundredth of a second, less their
/// mean, in which microphone and room are. The engine would take the mean off too, but only of sound that it
/// is given whole, which it then searches without a look at anything else.
class Cepstra {
 public:
  Cepstra(ps_decoder_t& decoder, std::span<const std::int16_t> samples, const Request& request) {
    fe_t& frontEnd = *ps_get_fe(&decoder);
    width_ = static_cast<std::size_t>(fe_get_output_size(&frontEnd));
    const auto most = samples.size() / samplesARow + 2;
    values_.resize(most * width_);
    for (std::size_t i = 0; i < most; ++i) rows_.push_back(&values_[i * width_]);
    fe_start_stream(&frontEnd);
    check(fe_start_utt(&frontEnd), request);
    const auto* unread = samples.data();
    auto left = samples.size();
    auto count = static_cast<std::int32_t>(most - 1), last = 0;
    check(fe_process_frames(&frontEnd, &unread, &left, rows_.data(), &count, nullptr), request);
    check(fe_end_utt(&frontEnd, rows_[static_cast<std::size_t>(count)], &last), request);
    rows_.resize(static_cast<std::size_t>(count + last));
    removeMean();
    // The search looks ahead by so much.
    if (!rows_.empty()) rows_.resize(rows_.size() + feat_window_size(ps_get_feat(&decoder)), rows_.back());
  }

  std::span<mfcc_t*> rows() { return rows_; }

 private:
  void removeMean() {
    std::vector<double> sums(width_);
    std::size_t count = 0;
    for (const mfcc_t* row : rows_) {
      if (row[0] < 0) continue;  // digital silence, which has nothing of any room
      ++count;
      for (std::size_t i = 0; i < width_; ++i) sums[i] += row[i];
    }
    for (mfcc_t* row : rows_)
      for (std::size_t i = 0; i < width_ && count > 0; ++i)
        row[i] -= static_cast<mfcc_t>(sums[i] / static_cast<double>(count));
  }

  std::size_t width_ = 0;
  std::vector<mfcc_t> values_;
  std::vector<mfcc_t*> rows_;
};

/// Ends early, with nothing, when the request is stopped.
void hear(ps_decoder_t& decoder, std::span<const std::int16_t> samples, double start, const Request& request,
          std::vector<TimelineCaptionWord>& words) {
  Cepstra cepstra(decoder, samples, request);
  check(ps_start_stream(&decoder), request);
  check(ps_start_utt(&decoder), request);
  for (auto rows = cepstra.rows(); !rows.empty();) {
    if (request.stop.stop_requested()) return;
    const auto block = rows.first(std::min(rows.size(), rowsABlock));
    rows = rows.subspan(block.size());
    check(ps_process_cep(&decoder, block.data(), static_cast<int>(block.size()), FALSE, FALSE), request);
  }
  check(ps_end_utt(&decoder), request);
  for (auto* segment = ps_seg_iter(&decoder); segment; segment = ps_seg_next(segment)) {
    int first = 0;
    int last = 0;
    ps_seg_frames(segment, &first, &last);
    // Variants of a pronunciation, as "the(2)", are one word.
    const std::string_view variant = ps_seg_word(segment);
    if (auto word = HeardWord::of(variant.substr(0, variant.find('(')), start + first / double{rowsASecond},
                                  start + (last + 1) / double{rowsASecond}))
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
    hear(*decoder, samples, start, request, speech.words);
  });
  return speech;
}

}  // namespace quillant
