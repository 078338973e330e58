#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>

#include "Core/PixelBuffer.h"

namespace quillant {

/// An animated GIF. A palette serves until the pictures have become too different for it, and only what
/// differs from the picture before is stored. The file appears under its name when it is finished, and not at
/// all if it is destroyed before.
///
/// Belongs to one thread at a time; blocking. Throws `FileError` for what the disk refuses and `MediaError`
/// of kind codec.
class GIFFileWriter {
 public:
  enum class Playing { once, forEver };

  /// Sides of up to 65,535 pixels.
  GIFFileWriter(const std::filesystem::path& target, int width, int height, Playing playing);
  ~GIFFileWriter();

  /// A planar picture of 8 bits and 4:2:0, BT.709, limited range. `time` is since when it is shown, in
  /// hundredths of a second, rising strictly.
  void write(const PixelBuffer& picture, std::int64_t time);
  /// `end` is until when the last picture is shown.
  void finish(std::int64_t end);

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace quillant
