#pragma once

#include <optional>
#include <string>
#include <variant>

#include "Core/Error.h"

namespace quillant {

/// Why an upload stopped between the service's answers.
class UploadError : public Error {
 public:
  /// Object storage refused, with the beginning of its answer where that is a text; status -1: it could not
  /// be asked.
  struct Put {
    int status = 0;
    std::optional<std::string> body;
  };
  struct BadReservation {};
  struct CaptionsUnsupported {};
  struct CaptionsFileMissing {};
  using Reason = std::variant<Put, BadReservation, CaptionsUnsupported, CaptionsFileMissing>;

  explicit UploadError(Reason reason);
  const Reason& reason() const { return reason_; }

 private:
  Reason reason_;
};

}  // namespace quillant
