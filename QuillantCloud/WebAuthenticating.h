#pragma once

#include <optional>
#include <string>
#include <utility>

#include "Core/Error.h"
#include "Core/Task.h"

namespace quillant {

/// Why a sign-in page brought no callback.
class WebAuthenticationError : public Error {
 public:
  enum class Kind {
    presentation,  ///< The page could not be shown: no desktop, no browser.
    cancelled,     ///< The user gave up.
    timedOut,      ///< Nobody finished on the page in time.
    failed,        ///< Anything else.
  };

  WebAuthenticationError(Kind kind, std::string text) : Error(std::move(text)), kind_(kind) {}
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

/// Leads the user through a web page that calls back on a URL scheme. One at a time.
class WebAuthenticating {
 public:
  virtual ~WebAuthenticating() = default;

  /// Shows `url` in the user's browser and waits for a URL of `callbackScheme` ("quillant"); nothing if the
  /// page's session ended well and without one. Listens before it opens the page, so that no callback is too
  /// early. Throws `WebAuthenticationError`; a terminal cancellation of the awaiting coroutine ends the wait
  /// with `cancelled`.
  virtual Task<std::optional<std::string>> authenticate(std::string url, std::string callbackScheme) = 0;
};

}  // namespace quillant
