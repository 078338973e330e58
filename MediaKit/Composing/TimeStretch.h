#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>

#include "MediaKit/Reading/SoundReader.h"

namespace quillant {

/// Sound played faster or slower at its own pitch. The first frame out belongs to the first frame in. One
/// thread at a time.
class TimeStretch {
 public:
  /// Fills whole frames of interleaved sound; returns how many, fewer only at the end.
  using Source = std::function<std::size_t(std::span<float>)>;

  /// `rate` is how many frames of `source` one frame of output takes, 0.05 to 20.
  TimeStretch(SoundFormat format, double rate, Source source);
  ~TimeStretch();

  /// Fills `samples` with whole frames; silence follows what the source holds.
  void read(std::span<float> samples);

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace quillant
