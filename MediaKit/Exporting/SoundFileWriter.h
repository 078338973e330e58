#pragma once

#include <filesystem>
#include <memory>
#include <span>

#include "MediaKit/Reading/SoundReader.h"

namespace quillant {

/// Uncompressed sound in a file of its own, written as it comes: 32-bit float in CAF, which `SoundReader`
/// reads back. Belongs to one thread at a time; blocking. Throws `FileError`, and `MediaError` of kind codec.
class SoundFileWriter {
 public:
  /// Replaces what is at `path`; the file gets `mode`, less the user's mask.
  SoundFileWriter(const std::filesystem::path& path, SoundFormat format, unsigned mode = 0666);
  ~SoundFileWriter();

  /// Whole frames, interleaved.
  void write(std::span<const float> samples);
  /// Nothing follows; the file is whole then.
  void finish();

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace quillant
