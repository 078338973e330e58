#pragma once

#include <string>

#include "Core/Error.h"

namespace quillant {

/// Why nobody was signed in.
class AuthError : public Error {
 public:
  enum class Kind {
    underlying,       ///< Something failed on the way.
    presentation,     ///< The sign-in page could not be shown.
    invalidCallback,  ///< The browser called back with what is no address.
    noToken,
    cancelled,  ///< By the user.
  };

  /// `detail` is what failed: an error's text, or the callback as it came.
  explicit AuthError(Kind kind, const std::string& detail = {});
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

}  // namespace quillant
