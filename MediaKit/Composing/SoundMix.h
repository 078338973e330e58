#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "MediaKit/Composing/MediaComposition.h"
#include "MediaKit/Reading/SoundReader.h"

namespace quillant {

/// The sound of a composition: its tracks stretched to their places at their own pitch, at their volumes,
/// added up. Frame n sounds n / sampleRate seconds after the composition's zero. Nothing is limited: loud
/// tracks add up to more than 1.
///
/// Memory does not grow with the length. A source is open from its first sound on. Blocking; belongs to one
/// thread at a time. Throws what `SoundReader` throws, when a source is reached.
class SoundMix {
 public:
  SoundMix(std::vector<MediaCompositionTrack> tracks, double duration, SoundFormat format);
  ~SoundMix();
  SoundMix(SoundMix&&) noexcept;
  SoundMix& operator=(SoundMix&&) noexcept;

  /// The duration, in frames.
  std::int64_t frameCount() const;
  std::int64_t position() const;
  void seek(std::int64_t frame);
  /// Fills `samples`, which holds whole frames, and returns how many frames; fewer than asked for only at the
  /// end.
  std::size_t read(std::span<float> samples);

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace quillant
