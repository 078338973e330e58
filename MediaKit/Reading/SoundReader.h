#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>

namespace quillant {

/// How a reader hands out sound: 32-bit float, interleaved, full scale at 1.
struct SoundFormat {
  int sampleRate = 48'000;
  int channels = 2;

  friend bool operator==(const SoundFormat&, const SoundFormat&) = default;
};

/// One audio track of a file, decoded, resampled and mixed to a format. Frame n is what sounds n / sampleRate
/// seconds after the file's zero, wherever reading began: seeking is exact to the sample, and what an encoder
/// put before the sound is left out. Where the track has no sound, there is silence; one without any ends at
/// its beginning. Mono keeps its level in every channel.
///
/// Holds a fraction of a second in memory. Belongs to one thread at a time; blocking. Throws `FileError` if
/// the file cannot be opened, and `MediaError` of kind unreadable if it has no such track, nothing in it
/// decodes, or reading fails before its end. A part that does not decode is silent.
class SoundReader {
 public:
  /// `track` counts the file's audio tracks from 0.
  SoundReader(const std::filesystem::path& path, int track, SoundFormat format);
  ~SoundReader();
  SoundReader(SoundReader&&) noexcept;
  SoundReader& operator=(SoundReader&&) noexcept;

  const SoundFormat& format() const;
  /// The next frame to read.
  std::int64_t position() const;
  /// Frames before 0 are silent.
  void seek(std::int64_t frame);
  /// Fills `samples`, which holds whole frames, and returns how many frames; fewer than asked for only where
  /// the track ends.
  std::size_t read(std::span<float> samples);

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace quillant
