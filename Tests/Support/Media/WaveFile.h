#pragma once

#include <filesystem>
#include <functional>

namespace quillant {

/// Sound files made for a test, of 16-bit PCM.
namespace WaveFile {

/// `level` takes the frame's index and gives -1...1 for every channel.
void write(const std::filesystem::path& path, int sampleRate, int channels, int frames,
           const std::function<double(int frame)>& level);

}  // namespace WaveFile
}  // namespace quillant
