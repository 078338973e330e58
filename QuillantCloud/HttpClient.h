#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "Core/Error.h"
#include "Core/Task.h"

namespace quillant {

struct HttpHeader {
  std::string name;
  std::string value;

  friend bool operator==(const HttpHeader&, const HttpHeader&) = default;
};

/// A body that is streamed from a file, never held in memory.
struct HttpFileBody {
  std::filesystem::path path;
};

struct HttpRequest {
  std::string method;  ///< "GET", "POST", "PUT".
  std::string url;     ///< http or https; anything else fails with `TransportError::Kind::unreachable`.
  std::vector<HttpHeader> headers;
  std::variant<std::monostate, std::string, HttpFileBody> body;
  /// The longest connecting may take, the longest pause in which no byte of the body moves, and the longest
  /// that the whole answer may take once the request has been sent.
  std::chrono::milliseconds timeout = std::chrono::seconds(60);
  /// Bytes of the body sent so far, and all of them. May be empty. Any thread, never two calls at once; all
  /// transfers are blocked until it returns.
  std::function<void(std::int64_t sent, std::int64_t total)> progress;
};

struct HttpResponse {
  /// Of the answer's body no more is kept; the rest is not waited for.
  static constexpr std::size_t longestBody = std::size_t{1} << 20;

  int status = 0;  ///< As the server gave it: a redirect is returned, not followed.
  std::string body;
  bool bodyWasCut = false;  ///< The answer was longer than `longestBody`.
};

/// A transfer that brought no usable answer. The description never holds a header or a URL's query: both
/// carry authority.
class TransportError : public Error {
 public:
  enum class Kind {
    unreachable,     ///< No connection: the name, the network, the certificate.
    interrupted,     ///< The connection broke, or success came before the whole body was sent.
    timedOut,        ///< See `HttpRequest::timeout`.
    cancelled,       ///< The awaiting coroutine was.
    unreadableBody,  ///< The body's file cannot be opened, or ended early.
    notHTTP,         ///< Something answered, and not with HTTP; or with headers without end.
  };

  TransportError(Kind kind, std::string text) : Error(std::move(text)), kind_(kind) {}
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

/// Sends requests, each by itself: no cookies, no cache, no redirects followed, certificates verified.
/// Requests may be under way at the same time, from any executor.
class HttpClient {
 public:
  virtual ~HttpClient() = default;

  /// Throws `TransportError`. A terminal cancellation of the awaiting coroutine breaks the transfer off.
  virtual Task<HttpResponse> send(HttpRequest request) = 0;
};

}  // namespace quillant
