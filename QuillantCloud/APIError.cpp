#include "QuillantCloud/APIError.h"

#include <utility>

namespace quillant {

namespace {

struct Describe {
  std::string operator()(const APIError::Http& http) const {
    auto text = "server error " + std::to_string(http.status);
    if (http.message || http.code) text += ":";
    if (http.message) text += " " + *http.message;
    if (http.code) text += " code=" + *http.code;
    return text;
  }
  std::string operator()(const APIError::Transport& transport) const {
    return "network error: " + transport.error.description();
  }
  std::string operator()(const APIError::Decoding& decoding) const {
    return "could not parse server response: " + decoding.error.description();
  }
  std::string operator()(const APIError::TokenExpired&) const {
    return "authentication expired — run `quillant login` again";
  }
};

}  // namespace

APIError::APIError(Reason reason) : Error(std::visit(Describe(), reason)), reason_(std::move(reason)) {}

bool APIError::isTokenExpired(const std::exception& error) {
  const auto* apiError = dynamic_cast<const APIError*>(&error);
  return apiError != nullptr && apiError->isTokenExpired();
}

bool APIError::isRefusal(int status, std::string_view code) const {
  const auto* http = std::get_if<Http>(&reason_);
  return http != nullptr && http->status == status && http->code == code;
}

bool APIError::isRetryable() const {
  if (const auto* http = std::get_if<Http>(&reason_)) return http->status == 429 || http->status > 499;
  return std::holds_alternative<Transport>(reason_);
}

}  // namespace quillant
