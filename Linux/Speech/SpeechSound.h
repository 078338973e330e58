#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "Editor/Captions/SpeechRecognizing.h"
#include "MediaKit/Reading/SoundReader.h"

namespace quillant {

/// The sound of a request as engines take it: 16-bit samples, mono. Belongs to one thread; blocking. What
/// cannot be read throws the `TranscriptionError` of kind failed.
class SpeechSound {
 public:
  static constexpr int sampleRate = 16'000;

  /// The request outlives the sound.
  explicit SpeechSound(const SpeechRecognizing::Request& request);

  /// The samples that follow, at most `count`; fewer only at the end. They are good until the next call.
  std::span<const std::int16_t> read(std::size_t count);
  /// Has an engine hear each stretch in which somebody may speak, one after another, with the second at which
  /// it starts, and reports the progress. Ends early when the request is stopped.
  void forEachStretch(const std::function<void(double start, std::span<const std::int16_t> samples)>& hear);

 private:
  const SpeechRecognizing::Request& request_;
  SoundReader reader_;
  std::vector<float> floats_;
  std::vector<std::int16_t> samples_;
};

}  // namespace quillant
