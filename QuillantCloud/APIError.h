#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "Core/Error.h"
#include "Core/JSON.h"
#include "QuillantCloud/HttpClient.h"

namespace quillant {

/// Why a call to the service brought no result.
class APIError : public Error {
 public:
  /// The service refused, in its own words where it gave any. Status -1: what answered does not speak HTTP.
  struct Http {
    int status = 0;
    std::optional<std::string> message;
    std::optional<std::string> code;
  };
  struct Transport {
    TransportError error;
  };
  /// It reported success, with an answer that cannot be parsed.
  struct Decoding {
    JSONError error;
  };
  struct TokenExpired {};
  using Reason = std::variant<Http, Transport, Decoding, TokenExpired>;

  explicit APIError(Reason reason);
  const Reason& reason() const { return reason_; }

  bool isTokenExpired() const { return std::holds_alternative<TokenExpired>(reason_); }
  /// The same of an error of any type.
  static bool isTokenExpired(const std::exception& error);
  /// Whether the service refused with this status and this code.
  bool isRefusal(int status, std::string_view code) const;
  /// Whether the same call may succeed later.
  bool isRetryable() const;

 private:
  Reason reason_;
};

}  // namespace quillant
