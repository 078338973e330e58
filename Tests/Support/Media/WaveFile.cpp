#include "Tests/Support/Media/WaveFile.h"

#include <cmath>
#include <cstdint>
#include <fstream>
#include <string>

namespace quillant {

void WaveFile::write(const std::filesystem::path& path, int sampleRate, int channels, int frames,
                     const std::function<double(int frame)>& level) {
  const auto number = [](std::int64_t value, std::size_t size) {
    return std::string(reinterpret_cast<const char*>(&value), size);
  };
  std::string data;
  for (int frame = 0; frame < frames; ++frame)
    for (int channel = 0; channel < channels; ++channel)
      data += number(std::lround(level(frame) * 32'767), 2);
  const auto size = static_cast<std::int64_t>(data.size());
  std::ofstream(path, std::ios::binary)
      << "RIFF" << number(size + 36, 4) << "WAVEfmt " << number(16, 4) << number(1, 2) << number(channels, 2)
      << number(sampleRate, 4) << number(std::int64_t{sampleRate} * 2 * channels, 4)
      << number(2 * channels, 2) << number(16, 2) << "data" << number(size, 4) << data;
}

}  // namespace quillant
