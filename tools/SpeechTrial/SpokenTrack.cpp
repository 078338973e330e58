#include "tools/SpeechTrial/SpokenTrack.h"

#include <algorithm>
#include <cmath>
#include <flite/flite.h>
#include <memory>
#include <span>
#include <stdexcept>

#include "MediaKit/Exporting/SoundFileWriter.h"

extern "C" cst_voice* register_cmu_us_slt(const char* folder);

namespace quillant {

namespace {

constexpr int sampleRate = 16'000;

cst_voice* voice() {
  static cst_voice* const slt = [] {
    ::flite_init();
    return ::register_cmu_us_slt(nullptr);
  }();
  return slt;
}

class Blocks {
 public:
  Blocks(const std::filesystem::path& path, SoundFormat format) : writer_(path, format) {}

  void silence(std::size_t frames) {
    const std::vector<float> block(std::min<std::size_t>(frames, sampleRate));
    for (; frames > 0; frames -= std::min(frames, block.size()))
      writer_.write(std::span(block).first(std::min(frames, block.size())));
  }
  void sound(std::span<const float> samples) { writer_.write(samples); }
  void finish() { writer_.finish(); }

 private:
  SoundFileWriter writer_;
};

}  // namespace

double SpokenTrack::say(double at, const std::string& sentence) {
  const std::unique_ptr<cst_utterance, decltype(&::delete_utterance)> utterance(
      ::flite_synth_text(sentence.c_str(), voice()), &::delete_utterance);
  if (!utterance) throw std::runtime_error("the voice cannot say: " + sentence);
  for (const cst_item* word = ::relation_head(::utt_relation(utterance.get(), "Word")); word;
       word = ::item_next(word))
    words_.push_back(
        {at + double{::ffeature_float(word, "R:SylStructure.daughter1.daughter1.R:Segment.p.end")},
         at + double{::ffeature_float(word, "R:SylStructure.daughtern.daughtern.R:Segment.end")},
         ::item_name(word)});
  const cst_wave& wave = *::utt_wave(utterance.get());
  if (wave.sample_rate != sampleRate) throw std::runtime_error("the voice has another sample rate");
  std::vector<float> samples(static_cast<std::size_t>(wave.num_samples));
  std::transform(wave.samples, wave.samples + wave.num_samples, samples.begin(),
                 [](short sample) { return static_cast<float>(sample) / 32'768; });
  sentences_.push_back({static_cast<std::size_t>(std::llround(at * sampleRate)), std::move(samples)});
  return at + static_cast<double>(wave.num_samples) / sampleRate;
}

void SpokenTrack::write(const std::filesystem::path& path, SoundFormat format, double duration) const {
  const auto voices = path.string() + ".voice";
  Blocks blocks(voices, {sampleRate, 1});
  std::size_t frame = 0;
  for (const auto& [first, samples] : sentences_) {
    blocks.silence(first - frame);
    blocks.sound(samples);
    frame = first + samples.size();
  }
  const auto end = static_cast<std::size_t>(std::llround(duration * sampleRate));
  blocks.silence(std::max(end, frame) - frame);
  blocks.finish();

  SoundReader reader(voices, 0, format);
  SoundFileWriter writer(path, format);
  std::vector<float> buffer(static_cast<std::size_t>(format.sampleRate) * format.channels);
  while (const auto frames = reader.read(buffer))
    writer.write(std::span(buffer).first(frames * format.channels));
  writer.finish();
  std::filesystem::remove(voices);
}

}  // namespace quillant
