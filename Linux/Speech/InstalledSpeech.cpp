#include "Linux/Speech/InstalledSpeech.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

#include "Core/Environment.h"
#include "Core/Log.h"
#include "Linux/Speech/KaldiRecognizer.h"
#include "Linux/Speech/WhisperRecognizer.h"

namespace quillant::InstalledSpeech {

namespace {

namespace fs = std::filesystem;

bool isFile(const fs::path& path) {
  std::error_code ignored;
  return fs::is_regular_file(path, ignored);
}

/// As its models are laid out, the newer ones and the older ones.
bool isKaldiModel(const fs::path& path) {
  return isFile(path / "am" / "final.mdl") || isFile(path / "final.mdl");
}

/// How many words and pieces of words a model of whisper.cpp knows, as its file begins; none if it is no such
/// file.
std::optional<std::int32_t> vocabularyOfWhisperModel(const fs::path& path) {
  constexpr std::uint32_t magic = 0x67676D6C;
  struct {
    std::uint32_t magic;
    std::int32_t vocabulary;
  } header{};
  if (!isFile(path)) return std::nullopt;
  std::ifstream file(path, std::ios::binary);
  file.read(reinterpret_cast<char*>(&header), sizeof(header));
  return file && header.magic == magic ? std::optional(header.vocabulary) : std::nullopt;
}

std::optional<fs::path> foundOnPath(const fs::path& program) {
  const auto canRun = [](const fs::path& file) { return isFile(file) && ::access(file.c_str(), X_OK) == 0; };
  if (program.has_parent_path()) return canRun(program) ? std::optional(program) : std::nullopt;
  std::istringstream folders(Environment::value("PATH"));
  for (std::string folder; std::getline(folders, folder, ':');)
    if (const fs::path file = fs::path(folder) / program; !folder.empty() && canRun(file)) return file;
  return std::nullopt;
}

std::shared_ptr<SpeechRecognizing> engineFor(const fs::path& model, const Places& places,
                                             const SystemLanguage& language) {
  if (isKaldiModel(model)) {
    const auto library = KaldiLibrary::open(places.kaldiLibrary);
    return library ? std::make_shared<KaldiRecognizer>(*library, model, language.tag) : nullptr;
  }
  constexpr std::int32_t smallestOfManyLanguages = 51'865;
  const auto vocabulary = vocabularyOfWhisperModel(model);
  if (!vocabulary || (*vocabulary < smallestOfManyLanguages && language.language() != "en")) return nullptr;
  const auto program = foundOnPath(places.whisperProgram);
  return program ? std::make_shared<WhisperRecognizer>(*program, model, language.tag) : nullptr;
}

/// "zh-Hant-TW", "zh-Hant", "zh".
std::vector<SystemLanguage> widening(SystemLanguage language) {
  std::vector<SystemLanguage> result{language};
  while (language.tag.find('-') != std::string::npos) {
    language.tag.resize(language.tag.rfind('-'));
    result.push_back(language);
  }
  return result;
}

std::vector<fs::path> modelsIn(const fs::path& folder) {
  std::vector<fs::path> result;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(folder, ignored)) result.push_back(entry.path());
  std::ranges::sort(result);
  // What was unpacked right into the folder.
  result.insert(result.begin(), folder);
  return result;
}

}  // namespace

Places Places::ofUser() {
  fs::path data = Environment::value("XDG_DATA_HOME");
  if (!data.is_absolute()) data = fs::path(Environment::value("HOME")) / ".local/share";
  return {.model = Environment::value("QUILLANT_SPEECH_MODEL"),
          .models = data.is_absolute() ? data / "quillant" / "speech" : fs::path()};
}

std::shared_ptr<SpeechRecognizing> find(const Places& places, const SystemLanguage& language) {
  if (!places.model.empty()) {
    auto engine = engineFor(places.model, places, language);
    if (!engine)
      Log::write("QUILLANT_SPEECH_MODEL names no model for {} that an installed engine can use: {}",
                 language.tag, places.model.string());
    return engine;
  }
  if (places.models.empty()) return nullptr;
  for (const auto& known : widening(language))
    for (const auto& model : modelsIn(places.models / known.tag))
      if (auto engine = engineFor(model, places, known)) return engine;
  return nullptr;
}

}  // namespace quillant::InstalledSpeech
