#include "Linux/Speech/SpeechSound.h"

#include <algorithm>
#include <cmath>

#include "Editor/Captions/TranscriptionError.h"
#include "Linux/Speech/SpeechSpans.h"

namespace quillant {

namespace {

constexpr double fullScale = 32'767;

template <class Read>
auto readable(const SpeechRecognizing::Request& request, Read&& read) {
  try {
    return read();
  } catch (const Error& error) {
    throw TranscriptionError::failed(request.name, error.description());
  }
}

double level(std::span<const std::int16_t> samples) {
  double power = 0;
  for (const double sample : samples) power += sample * sample;
  return std::sqrt(power / static_cast<double>(samples.size())) / fullScale;
}

}  // namespace

SpeechSound::SpeechSound(const SpeechRecognizing::Request& request)
    : request_(request), reader_(readable(request, [&] {
        return SoundReader(request.sound, 0, {.sampleRate = sampleRate, .channels = 1});
      })) {}

std::span<const std::int16_t> SpeechSound::read(std::size_t count) {
  floats_.resize(count);
  floats_.resize(readable(request_, [&] { return reader_.read(floats_); }));
  samples_.resize(floats_.size());
  std::ranges::transform(floats_, samples_.begin(), [](float value) {
    return static_cast<std::int16_t>(std::lround(std::clamp(value, -1.0F, 1.0F) * fullScale));
  });
  return samples_;
}

void SpeechSound::forEachStretch(
    const std::function<void(double start, std::span<const std::int16_t> samples)>& hear) {
  constexpr auto levelLength = static_cast<std::size_t>(sampleRate * SpeechSpans::levelInterval);
  std::vector<float> levels;
  for (auto samples = read(levelLength); !samples.empty() && !request_.stop.stop_requested();
       samples = read(levelLength))
    levels.push_back(static_cast<float>(level(samples)));
  for (const auto& span : SpeechSpans::find(levels)) {
    if (request_.stop.stop_requested()) return;
    const auto first = std::llround(span.start * sampleRate);
    readable(request_, [&] { reader_.seek(first); });
    hear(span.start, read(static_cast<std::size_t>(std::llround(span.end * sampleRate) - first)));
    if (request_.duration > 0) request_.progress(std::min(1.0, span.end / request_.duration));
  }
}

}  // namespace quillant
