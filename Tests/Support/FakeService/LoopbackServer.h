#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "Core/Task.h"

namespace quillant {

struct LoopbackRequest {
  std::string method;
  std::string path;                            ///< Percent-decoded, without the query.
  std::map<std::string, std::string> query;    ///< Percent-decoded.
  std::map<std::string, std::string> headers;  ///< Names in lower case.
  std::uint64_t contentLength = 0;
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
  /// Answers with the bytes of an open file, which are streamed.
  Task<> answerFile(std::string contentType, std::istream& file, std::uint64_t size);
  /// Sends `bytes` as they are; nothing else will follow them on this connection but more raw bytes.
  Task<> write(std::string_view bytes);
  /// Sends nothing more and waits until the client has gone.
  Task<> hang();
  /// Breaks the connection as a failing network does, with a reset.
  void cut();

 private:
  friend class LoopbackServer;
  explicit LoopbackExchange(asio::ip::tcp::socket socket) : socket_(std::move(socket)) {}
  Task<bool> readHead();
  Task<> discardBody();
  Task<> send(std::string_view bytes);
  void parseHead(std::string_view head);

  asio::ip::tcp::socket socket_;
  std::string buffer_;          ///< What was read and not yet used.
  std::uint64_t bodyLeft_ = 0;  ///< Body bytes that were not yet read.
  bool awaitsContinue_ = false;
  bool keepAlive_ = true;
};

/// An HTTP/1.1 server on 127.0.0.1, just enough of one for tests: it misbehaves on demand, which servers made
/// for service refuse to. It serves from construction to destruction, all connections on one thread of its
/// own, on which the handler runs too.
class LoopbackServer {
 public:
  using Handler = std::function<Task<>(LoopbackExchange&)>;

  /// Port 0 takes a free one. Throws `std::system_error` if the port is taken.
  explicit LoopbackServer(Handler handler, std::uint16_t port = 0);
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  std::uint16_t port() const { return port_; }
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

/// Texts as URLs carry them.
namespace LoopbackText {
std::string percentDecoded(std::string_view text);
std::string percentEncoded(std::string_view text);
}  // namespace LoopbackText

}  // namespace quillant
