#pragma once

#include <optional>

namespace quillant {

enum class MediaContainer { mp4, quickTime };

/// How a picture's numbers are to be understood; written into the bitstream and the container alike.
enum class ColorTagging { none, p3D65Rec709 };

/// How a file is encoded that is not live: at a constant quality, as long as a decoder's buffer allows it.
struct FileEncoding {
  int quantizer = 20;              ///< H.264's.
  int maximumBitRate = 8'000'000;  ///< Bits a second, over the second that the buffer holds.
};

struct VideoInputSettings {
  int width = 0;   ///< Pixels, even.
  int height = 0;  ///< Pixels, even.
  int expectedFrameRate = 30;
  ColorTagging color = ColorTagging::none;
  std::optional<FileEncoding> file;  ///< None: live.
};

struct AudioInputSettings {
  int channels = 1;
  int bitRate = 96'000;  ///< Bits a second; AAC at 48,000 Hz.
};

}  // namespace quillant
