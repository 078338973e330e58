#include "QuillantCloud/AuthError.h"

namespace quillant {

namespace {

std::string text(AuthError::Kind kind, const std::string& detail) {
  switch (kind) {
    case AuthError::Kind::underlying:
      return "sign-in failed: " + detail;
    case AuthError::Kind::presentation:
      return "could not present sign-in window: " + detail;
    case AuthError::Kind::invalidCallback:
      return "invalid callback URL: " + detail;
    case AuthError::Kind::noToken:
      return "callback did not contain a token";
    case AuthError::Kind::cancelled:
      return "sign-in cancelled";
  }
  return {};
}

}  // namespace

AuthError::AuthError(Kind kind, const std::string& detail) : Error(text(kind, detail)), kind_(kind) {}

}  // namespace quillant
