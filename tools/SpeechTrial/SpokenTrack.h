#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Editor/Timeline/TimelineCaptions.h"
#include "MediaKit/Reading/SoundReader.h"

namespace quillant {

/// Silence in which flite's voice "slt" says sentences. One thread at a time, of the whole process: so is the
/// voice.
class SpokenTrack {
 public:
  /// Says a sentence from a second on, after all that was said before. The voice takes a breath of some 0.2 s
  /// first. Returns the second at which it ends.
  double say(double at, const std::string& sentence);
  /// What is said, each word where the voice put it.
  const std::vector<TimelineCaptionWord>& words() const { return words_; }
  /// Writes a sound of that length. Throws what `SoundFileWriter` throws.
  void write(const std::filesystem::path& path, SoundFormat format, double duration) const;

 private:
  struct Sentence {
    std::size_t first;  ///< Frame of 16,000 a second.
    std::vector<float> samples;
  };
  std::vector<Sentence> sentences_;
  std::vector<TimelineCaptionWord> words_;
};

}  // namespace quillant
