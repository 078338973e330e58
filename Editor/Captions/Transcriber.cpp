#include "Editor/Captions/Transcriber.h"

#include <algorithm>
#include <cstdlib>
#include <system_error>
#include <utility>
#include <vector>

#include "Core/UUID.h"
#include "Editor/Captions/TranscriptionError.h"
#include "MediaKit/Exporting/SoundFileWriter.h"
#include "MediaKit/Reading/SoundReader.h"

namespace quillant {

namespace {

constexpr SoundFormat recognizedFormat{16'000, 1};
/// The progress when the sound is there and recognition begins.
constexpr double extracted = 0.05;

/// A file that is gone at the end.
class TemporaryFile {
 public:
  explicit TemporaryFile(std::filesystem::path path) : path_(std::move(path)) {}
  ~TemporaryFile() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// The sound's length in seconds; none if it was stopped.
std::optional<double> extract(const std::filesystem::path& file, int track, const std::string& name,
                              const std::filesystem::path& to, const std::stop_token& stop) {
  const auto readable = [&name](const auto& read) {
    try {
      return read();
    } catch (const Error&) {
      throw TranscriptionError::unreadable(name);
    }
  };
  auto reader = readable([&] { return SoundReader(file, track, recognizedFormat); });
  std::vector<float> buffer(16'384);
  const auto read = [&] { return readable([&] { return reader.read(buffer); }); };
  try {
    constexpr unsigned ownersOnly = 0600;  // what is said concerns nobody else on this machine
    SoundFileWriter writer(to, recognizedFormat, ownersOnly);
    while (const auto frames = read()) {
      if (stop.stop_requested()) return std::nullopt;
      writer.write(std::span(buffer).first(frames));
    }
    writer.finish();
  } catch (const TranscriptionError&) {
    throw;
  } catch (const Error& error) {  // of the writer: the disk is full
    throw TranscriptionError::failed(name, error.description());
  }
  return static_cast<double>(reader.position()) / recognizedFormat.sampleRate;
}

}  // namespace

SpeechRecognizing& Transcriber::engine() const {
  // Any value counts as set, even an empty one.
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here sets a variable.
  const bool wantsLegacy = std::getenv("QUILLANT_LEGACY_SPEECH") != nullptr;
  return engines_.modern && !wantsLegacy ? *engines_.modern : *engines_.legacy;
}

std::optional<RecognizedSpeech> Transcriber::transcribe(const std::filesystem::path& file, int track,
                                                        const std::string& name,
                                                        const std::function<void(double)>& progress,
                                                        std::stop_token stop) const {
  std::error_code failed;
  const auto folder = std::filesystem::temp_directory_path(failed);
  if (failed) throw TranscriptionError::failed(name, "there is no folder for temporary files");
  const TemporaryFile sound(folder / (UUID::random().text() + ".caf"));
  const auto duration = extract(file, track, name, sound.path(), stop);
  if (!duration) return std::nullopt;
  progress(extracted);
  auto speech = engine().recognize(
      {.sound = sound.path(),
       .duration = *duration,
       .name = name,
       .progress = [&](double done) { progress(std::max(extracted, std::min(done, 1.0))); },
       .stop = stop});
  if (stop.stop_requested()) return std::nullopt;
  std::ranges::stable_sort(speech.words, {}, &TimelineCaptionWord::start);
  return speech;
}

}  // namespace quillant
