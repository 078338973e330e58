#pragma once

#include <string_view>

#include "Core/Error.h"

namespace quillant {

/// A file that an edit plays cannot be played.
class MultiSourceCompositionError : public Error {
 public:
  enum class Kind { missingSourceFile, unreadableSource, missingAudioFile, unreadableAudio, voiceNotCleaned };

  /// `name` is how the user knows the file.
  MultiSourceCompositionError(Kind kind, std::string_view name);

  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

}  // namespace quillant
