#include "Editor/Captions/TranscriptionError.h"

#include <fmt/format.h>

#include "Core/SystemWords.h"

namespace quillant {

TranscriptionError TranscriptionError::languageUnsupported(std::string_view language) {
  return {
      Kind::languageUnsupported,
      fmt::format(
          "This {0} can't make captions in {1} without sending the sound off the {0}, so Quillant doesn't.",
          SystemWords::computer, language)};
}

TranscriptionError TranscriptionError::unreadable(std::string_view name) {
  return {Kind::unreadable, fmt::format("Couldn't read the sound of {} to make captions.", name)};
}

TranscriptionError TranscriptionError::failed(std::string_view name, std::string_view reason) {
  return {Kind::failed, fmt::format("Couldn't make captions for {}: {}.", name, reason)};
}

TranscriptionError TranscriptionError::permissionDenied() {
  return {Kind::permissionDenied,
          fmt::format("Quillant isn't allowed to use speech recognition. Allow it in {}, then try "
                      "again.",
                      SystemWords::whereToAllow("Speech Recognition"))};
}

}  // namespace quillant
