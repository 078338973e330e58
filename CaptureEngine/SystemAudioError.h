#pragma once

#include "Core/Error.h"

namespace quillant {

/// What the machine plays cannot be recorded.
class SystemAudioError : public Error {
 public:
  explicit SystemAudioError(const std::string& reason)
      : Error("system audio cannot be recorded: " + reason) {}
};

}  // namespace quillant
