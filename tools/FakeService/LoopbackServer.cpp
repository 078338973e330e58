#include "tools/FakeService/LoopbackServer.h"

#include <algorithm>
#include <asio/buffer.hpp>
#include <asio/read_until.hpp>
#include <asio/write.hpp>
#include <charconv>
#include <fmt/format.h>
#include <stdexcept>

#include "Core/Text.h"

namespace quillant {

namespace {

constexpr std::size_t longestHead = 64 * 1024;
constexpr std::size_t chunkSize = 256 * 1024;
constexpr std::string_view endOfHead = "\r\n\r\n";

/// Takes the text up to `separator` off the front of `text`, and the separator with it.
std::string_view takeUpTo(std::string_view& text, std::string_view separator) {
  const auto end = text.find(separator);
  const auto taken = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + separator.size());
  return taken;
}

}  // namespace

std::string LoopbackRequest::header(const std::string& name) const {
  const auto found = headers.find(name);
  return found == headers.end() ? std::string() : found->second;
}

std::string LoopbackRequest::query(std::string_view name) const {
  for (const auto& [key, value] : url.queryItems())
    if (key == name) return value.value_or("");
  return {};
}

void LoopbackExchange::parseHead(std::string_view head) {
  auto line = takeUpTo(head, "\r\n");
  request.method = takeUpTo(line, " ");
  const auto target = takeUpTo(line, " ");
  while (!head.empty()) {
    auto field = takeUpTo(head, "\r\n");
    const auto name = Text::lowercased(takeUpTo(field, ":"));
    request.headers[name] = Text::trimmed(field);
  }
  request.url = URL::parse(fmt::format("http://{}{}", request.header("host"), target)).value();
  const auto length = request.header("content-length");
  std::from_chars(length.data(), length.data() + length.size(), request.contentLength);
  awaitsContinue_ = Text::lowercased(request.header("expect")) == "100-continue";
  bodyLeft_ = request.contentLength;
}

Task<> LoopbackExchange::readHead() {
  const std::size_t length = co_await asio::async_read_until(
      socket_, asio::dynamic_buffer(buffer_, longestHead), endOfHead, asio::use_awaitable);
  parseHead(std::string_view(buffer_).substr(0, length - endOfHead.size()));
  buffer_.erase(0, length);
}

Task<> LoopbackExchange::readBody(std::function<void(std::string_view)> sink, std::uint64_t atMost) {
  std::uint64_t wanted = std::min(bodyLeft_, atMost);
  if (wanted > 0 && std::exchange(awaitsContinue_, false)) co_await write("HTTP/1.1 100 Continue\r\n\r\n");
  std::string chunk(chunkSize, '\0');
  while (wanted > 0) {
    if (buffer_.empty()) {
      const std::size_t count = co_await socket_.async_read_some(asio::buffer(chunk), asio::use_awaitable);
      buffer_.assign(chunk, 0, count);
    }
    const auto used = std::min<std::uint64_t>(wanted, buffer_.size());
    sink(std::string_view(buffer_).substr(0, used));
    buffer_.erase(0, used);
    wanted -= used;
    bodyLeft_ -= used;
  }
}

Task<std::string> LoopbackExchange::readBody() {
  std::string body;
  co_await readBody([&body](std::string_view bytes) { body += bytes; });
  co_return body;
}

Task<> LoopbackExchange::answer(int status, std::string contentType, std::string body, Headers more) {
  // A client that waits for permission to send takes the answer as a refusal. Any other is heard out: bytes
  // that nobody reads turn the connection's end into a reset, which may overtake the answer.
  if (!awaitsContinue_) co_await readBody([](std::string_view) {});
  std::string text = fmt::format("HTTP/1.1 {} Answer\r\nContent-Type: {}\r\nContent-Length: {}\r\n", status,
                                 contentType, body.size());
  for (const auto& [name, value] : more) text += fmt::format("{}: {}\r\n", name, value);
  text += "\r\n" + body;
  co_await write(text);
}

Task<> LoopbackExchange::write(std::string_view bytes) {
  co_await asio::async_write(socket_, asio::buffer(bytes.data(), bytes.size()), asio::use_awaitable);
}

Task<> LoopbackExchange::hang() {
  for (char byte = 0;;) co_await socket_.async_read_some(asio::buffer(&byte, 1), asio::use_awaitable);
}

void LoopbackExchange::cut() {
  std::error_code ignored;
  socket_.set_option(asio::socket_base::linger(true, 0), ignored);
  socket_.close(ignored);
}

LoopbackServer::LoopbackServer(Handler handler, std::uint16_t port)
    : handler_(std::move(handler)),
      acceptor_(context_, asio::ip::tcp::endpoint(asio::ip::address_v4::loopback(), port)),
      port_(acceptor_.local_endpoint().port()) {
  asio::co_spawn(context_, acceptAll(), asio::detached);
  thread_ = std::thread([this] { context_.run(); });
}

LoopbackServer::~LoopbackServer() {
  context_.stop();
  thread_.join();
}

std::string LoopbackServer::origin() const {
  return fmt::format("http://127.0.0.1:{}", port_);
}

Task<> LoopbackServer::acceptAll() {
  for (;;) {
    auto socket = co_await acceptor_.async_accept(asio::use_awaitable);
    asio::co_spawn(context_, serve(std::move(socket)), asio::detached);
  }
}

Task<> LoopbackServer::serve(asio::ip::tcp::socket socket) {
  LoopbackExchange exchange(std::move(socket));
  try {
    co_await exchange.readHead();
    co_await handler_(exchange);
  } catch (const std::exception&) {
    // The client went away, or sent what is no request: either ends this connection only.
  }
}

}  // namespace quillant
