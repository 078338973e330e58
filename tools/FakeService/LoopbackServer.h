#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "Core/Task.h"
#include "QuillantCloud/URL.h"

namespace quillant {

struct LoopbackRequest {
  std::string method;
  URL url;                                     ///< With the host that the client named.
  std::map<std::string, std::string> headers;  ///< Names in lower case.
  std::uint64_t contentLength = 0;

  /// The header's value, or the query item's; empty if there is none.
  std::string header(const std::string& name) const;
  std::string query(std::string_view name) const;
};

/// One request and what is answered to it. A handler either answers, or writes whatever it likes byte by
/// byte; a client that goes away ends the handler by a `std::system_error` out of the call that noticed.
class LoopbackExchange {
 public:
  using Headers = std::vector<std::pair<std::string, std::string>>;

  LoopbackRequest request;

  /// Streams the body into `sink`, or its first `atMost` bytes only.
  Task<> readBody(std::function<void(std::string_view)> sink, std::uint64_t atMost = UINT64_MAX);
  /// The whole body as a text.
  Task<std::string> readBody();

  Task<> answer(int status, std::string contentType, std::string body, Headers more = {});
  /// Sends `bytes` as they are.
  Task<> write(std::string_view bytes);
  /// Sends nothing more and waits until the client has gone.
  Task<> hang();
  /// Breaks the connection as a failing network does, with a reset.
  void cut();

 private:
  friend class LoopbackServer;
  explicit LoopbackExchange(asio::ip::tcp::socket socket) : socket_(std::move(socket)) {}
  Task<> readHead();
  void parseHead(std::string_view head);

  asio::ip::tcp::socket socket_;
  std::string buffer_;          ///< What was read and not yet used.
  std::uint64_t bodyLeft_ = 0;  ///< Body bytes that were not yet read.
  bool awaitsContinue_ = false;
};

/// An HTTP/1.1 server on 127.0.0.1, just enough of one for tests: it misbehaves on demand, which servers made
/// for service refuse to. It serves from construction to destruction, all connections on one thread of its
/// own, on which the handler runs too. A connection ends after one answer, and does not say so beforehand: a
/// client that wants to keep it learns to live with that.
class LoopbackServer {
 public:
  using Handler = std::function<Task<>(LoopbackExchange&)>;

  /// Port 0 takes a free one. Throws `std::system_error` if the port is taken.
  explicit LoopbackServer(Handler handler, std::uint16_t port = 0);
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  /// "http://127.0.0.1:4242".
  std::string origin() const;

 private:
  Task<> acceptAll();
  Task<> serve(asio::ip::tcp::socket socket);

  Handler handler_;
  asio::io_context context_{1};
  asio::ip::tcp::acceptor acceptor_;
  std::uint16_t port_;
  std::thread thread_;
};

}  // namespace quillant
