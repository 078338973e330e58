#include "Editor/Export/MultiSourceCompositionError.h"

#include <fmt/format.h>
#include <string>

namespace quillant {

namespace {

std::string text(MultiSourceCompositionError::Kind kind, std::string_view name) {
  using Kind = MultiSourceCompositionError::Kind;
  switch (kind) {
    case Kind::missingSourceFile:
      return fmt::format("The added clip “{}” is missing from the project folder.", name);
    case Kind::unreadableSource:
      return fmt::format("The added clip “{}” can't be read.", name);
    case Kind::missingAudioFile:
      return fmt::format("The audio “{}” is missing from the project folder.", name);
    case Kind::unreadableAudio:
      return fmt::format("The audio “{}” can't be read.", name);
    case Kind::voiceNotCleaned:
      break;
  }
  return fmt::format(
      "Voice cleanup hasn't finished for “{}”. Wait for it in the Sound tab, or turn Voice cleanup off.",
      name);
}

}  // namespace

MultiSourceCompositionError::MultiSourceCompositionError(Kind kind, std::string_view name)
    : Error(text(kind, name)), kind_(kind) {}

}  // namespace quillant
