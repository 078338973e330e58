#pragma once

#include "Core/Error.h"

namespace quillant {

/// The microphone cannot be recorded.
class MicError : public Error {
 public:
  enum class Kind { permissionDenied, noMicrophone, cannotConfigure };
  explicit MicError(Kind kind);
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

}  // namespace quillant
