#pragma once

#include <string_view>

#include "Core/Error.h"

namespace quillant {

/// Why there is no transcript.
class TranscriptionError : public Error {
 public:
  enum class Kind { languageUnsupported, unreadable, failed, permissionDenied };

  /// `language` is its display name.
  static TranscriptionError languageUnsupported(std::string_view language);
  /// `name` is how the user knows the sound.
  static TranscriptionError unreadable(std::string_view name);
  static TranscriptionError failed(std::string_view name, std::string_view reason);
  static TranscriptionError permissionDenied();

  Kind kind() const { return kind_; }

 private:
  TranscriptionError(Kind kind, std::string description) : Error(std::move(description)), kind_(kind) {}

  Kind kind_;
};

}  // namespace quillant
