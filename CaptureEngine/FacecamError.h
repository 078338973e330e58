#pragma once

#include "Core/Error.h"

namespace quillant {

/// The camera cannot be recorded.
class FacecamError : public Error {
 public:
  enum class Kind { permissionDenied, noCamera, cannotConfigure };
  explicit FacecamError(Kind kind);
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

}  // namespace quillant
