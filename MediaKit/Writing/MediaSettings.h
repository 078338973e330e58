#pragma once

namespace quillant {

enum class MediaContainer { mp4, quickTime };

/// How a picture's numbers are to be understood; written into the bitstream and the container alike.
enum class ColorTagging { none, p3D65Rec709 };

struct VideoInputSettings {
  int width = 0;   ///< Pixels, even.
  int height = 0;  ///< Pixels, even.
  int expectedFrameRate = 30;
  ColorTagging color = ColorTagging::none;
};

struct AudioInputSettings {
  int channels = 1;
  int bitRate = 96'000;  ///< Bits a second; AAC at 48,000 Hz.
};

}  // namespace quillant
