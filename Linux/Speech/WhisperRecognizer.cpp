#include "Linux/Speech/WhisperRecognizer.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <fmt/format.h>
#include <fstream>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "Core/AtomicFile.h"
#include "Core/JSON.h"
#include "Core/PrivateFolder.h"
#include "Core/SystemLanguage.h"
#include "Core/UUID.h"
#include "Editor/Captions/TranscriptionError.h"
#include "Linux/Speech/SpeechProgram.h"
#include "Linux/Speech/SpeechSound.h"
#include "Linux/Speech/WhisperTranscript.h"

namespace quillant {

namespace {

/// Bytes of an answer: some three kilobytes a second are more than anybody can say.
constexpr double longestAnswer = 1 << 20;
constexpr double longestAnswerPerSecond = 16'384;
constexpr std::size_t blockLength = SpeechSound::sampleRate;

using Request = SpeechRecognizing::Request;

/// A folder of the user's own for what passes between us and the program; gone at the end.
class ExchangeFolder {
 public:
  ExchangeFolder() : path_(std::filesystem::temp_directory_path() / UUID::random().text()) {
    PrivateFolder::ensure(path_);
  }
  ~ExchangeFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ExchangeFolder(const ExchangeFolder&) = delete;
  ExchangeFolder& operator=(const ExchangeFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// What the program calls the language of a BCP 47 tag.
std::string programsName(const std::string& language) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 3> others{
      {{"nb", "no"}, {"fil", "tl"}, {"jv", "jw"}}};
  auto name = SystemLanguage{language}.language();
  const auto other = std::ranges::find(others, std::string_view(name),
                                       &std::pair<std::string_view, std::string_view>::first);
  return other == others.end() ? name : std::string(other->second);
}

/// The sound as a WAVE file, the one kind that every version of the program reads. Returns its seconds.
double writeWave(const Request& request, const std::filesystem::path& path) {
  static_assert(std::endian::native == std::endian::little);
  const auto put = [](std::ofstream& file, const auto value) {
    file.write(reinterpret_cast<const char*>(&value), sizeof(value));
  };
  constexpr std::uint16_t pcm = 1, channels = 1, sampleSize = 2;
  std::ofstream file(path, std::ios::binary);
  std::uint32_t bytes = 0;
  const auto writeHeader = [&] {
    file.write("RIFF", 4), put(file, std::uint32_t{36} + bytes), file.write("WAVEfmt ", 8);
    put(file, std::uint32_t{16}), put(file, pcm), put(file, channels);
    put(file, std::uint32_t{SpeechSound::sampleRate});
    put(file, std::uint32_t{SpeechSound::sampleRate * sampleSize});
    put(file, sampleSize), put(file, std::uint16_t{8 * sampleSize});
    file.write("data", 4), put(file, bytes);
  };
  writeHeader();
  SpeechSound sound(request);
  for (auto block = sound.read(blockLength); !block.empty() && file && !request.stop.stop_requested();
       block = sound.read(blockLength)) {
    file.write(reinterpret_cast<const char*>(block.data()), static_cast<std::streamsize>(block.size_bytes()));
    bytes += static_cast<std::uint32_t>(block.size_bytes());
  }
  file.seekp(0);
  writeHeader();
  file.close();
  if (!file)
    throw TranscriptionError::failed(request.name, "the sound cannot be written to a temporary file");
  return bytes / (sampleSize * double{SpeechSound::sampleRate});
}

/// What a line as "whisper_print_progress_callback: progress =  35%" tells: 0 to 1.
std::optional<double> progressOf(std::string_view line) {
  constexpr std::string_view mark = "progress =";
  const auto found = line.find(mark);
  if (found == std::string_view::npos) return std::nullopt;
  line.remove_prefix(std::min(line.size(), line.find_first_not_of(' ', found + mark.size())));
  int percent = 0;
  if (std::from_chars(line.data(), line.data() + line.size(), percent).ec != std::errc()) return std::nullopt;
  return std::clamp(percent / 100.0, 0.0, 1.0);
}

}  // namespace

WhisperRecognizer::WhisperRecognizer(std::filesystem::path program, std::filesystem::path model,
                                     std::string language)
    : program_(std::move(program)), model_(std::move(model)), language_(std::move(language)) {}

RecognizedSpeech WhisperRecognizer::recognize(const Request& request) {
  try {
    const ExchangeFolder folder;
    const auto sound = folder.path() / "sound.wav";
    const auto answer = folder.path() / "words";  // without the ".json" that the program adds
    const double duration = writeWave(request, sound);
    RecognizedSpeech stopped{.language = language_, .words = {}};
    if (request.stop.stop_requested()) return stopped;

    const auto largest = static_cast<std::uint64_t>(longestAnswer + longestAnswerPerSecond * duration);
    const auto threads = std::max(1u, std::thread::hardware_concurrency());
    std::string complaint;
    const int code =
        SpeechProgram::run({.command = {program_.string(), "-m", model_.string(), "-f", sound.string(), "-l",
                                        programsName(language_), "-t", std::to_string(threads), "-ojf", "-of",
                                        answer.string(), "-np", "-pp"},
                            .onLine =
                                [&](std::string_view line) {
                                  if (const auto done = progressOf(line))
                                    request.progress(*done);
                                  else if (complaint.empty() || line.starts_with("error"))
                                    complaint = line;
                                },
                            .largestFile = largest,
                            .stop = request.stop});
    if (request.stop.stop_requested()) return stopped;
    if (complaint.starts_with("error: unknown language"))
      throw TranscriptionError::languageUnsupported(SystemLanguage{language_}.displayName());
    // Whatever it thinks of its arguments and its input, it may end with 0: the answer tells.
    const auto json = answer.string() + ".json";
    if (code != 0 || !std::filesystem::exists(json))
      throw TranscriptionError::failed(request.name,
                                       fmt::format("the speech recognizer ended with {} ({})", code,
                                                   complaint.empty() ? "it said nothing" : complaint));
    auto speech = WhisperTranscript::read(AtomicFile::read(json, largest), duration);
    if (speech.language.empty() || speech.language == programsName(language_)) speech.language = language_;
    return speech;
  } catch (const TranscriptionError&) {
    throw;
  } catch (const JSONError&) {
    throw TranscriptionError::failed(request.name, "the speech recognizer's answer cannot be read");
  } catch (const Error& error) {
    throw TranscriptionError::failed(request.name, error.description());
  } catch (const std::filesystem::filesystem_error&) {
    throw TranscriptionError::failed(request.name, "there is no folder for temporary files");
  }
}

}  // namespace quillant
