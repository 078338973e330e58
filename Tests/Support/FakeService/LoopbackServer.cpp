#include "Tests/Support/FakeService/LoopbackServer.h"

#include <algorithm>
#include <asio/buffer.hpp>
#include <asio/write.hpp>
#include <cctype>
#include <charconv>
#include <fmt/format.h>
#include <istream>
#include <stdexcept>

namespace quillant {

namespace {

constexpr std::size_t longestHead = 64 * 1024;
constexpr std::size_t chunkSize = 256 * 1024;

std::string lowerCased(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
  return result;
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

/// Takes the text up to `separator` off the front of `text`, and the separator with it.
std::string_view takeUpTo(std::string_view& text, std::string_view separator) {
  const auto end = text.find(separator);
  const auto taken = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + separator.size());
  return taken;
}

}  // namespace

std::string LoopbackText::percentDecoded(std::string_view text) {
  std::string result;
  for (std::size_t index = 0; index < text.size(); ++index) {
    unsigned value = 0;
    const char* digits = text.data() + index + 1;
    if (text[index] == '%' && index + 2 < text.size() &&
        std::from_chars(digits, digits + 2, value, 16).ptr == digits + 2) {
      result += static_cast<char>(value);
      index += 2;
    } else {
      result += text[index];
    }
  }
  return result;
}

std::string LoopbackText::percentEncoded(std::string_view text) {
  std::string result;
  for (const char character : text) {
    if (std::isalnum(static_cast<unsigned char>(character)) ||
        std::string_view("-._~").find(character) != std::string_view::npos)
      result += character;
    else
      result += fmt::format("%{:02X}", static_cast<unsigned char>(character));
  }
  return result;
}

void LoopbackExchange::parseHead(std::string_view head) {
  auto line = takeUpTo(head, "\r\n");
  request = {};
  request.method = takeUpTo(line, " ");
  auto target = takeUpTo(line, " ");
  keepAlive_ = line == "HTTP/1.1";
  request.path = LoopbackText::percentDecoded(takeUpTo(target, "?"));
  while (!target.empty()) {
    auto item = takeUpTo(target, "&");
    const auto name = LoopbackText::percentDecoded(takeUpTo(item, "="));
    request.query.emplace(name, LoopbackText::percentDecoded(item));
  }
  while (!head.empty()) {
    auto field = takeUpTo(head, "\r\n");
    const auto name = lowerCased(takeUpTo(field, ":"));
    request.headers[name] = trimmed(field);
  }
  const auto& length = request.headers["content-length"];
  std::from_chars(length.data(), length.data() + length.size(), request.contentLength);
  if (lowerCased(request.headers["connection"]) == "close") keepAlive_ = false;
  awaitsContinue_ = lowerCased(request.headers["expect"]) == "100-continue";
  bodyLeft_ = request.contentLength;
}

Task<bool> LoopbackExchange::readHead() {
  std::size_t end = buffer_.find("\r\n\r\n");
  while (end == std::string::npos) {
    if (buffer_.size() > longestHead) throw std::runtime_error("the request's head is too long");
    char bytes[4096];
    std::error_code error;
    const std::size_t count = co_await socket_.async_read_some(
        asio::buffer(bytes), asio::redirect_error(asio::use_awaitable, error));
    if (error) co_return false;
    buffer_.append(bytes, count);
    end = buffer_.find("\r\n\r\n");
  }
  parseHead(std::string_view(buffer_).substr(0, end));
  buffer_.erase(0, end + 4);
  co_return true;
}

Task<> LoopbackExchange::readBody(std::function<void(std::string_view)> sink, std::uint64_t atMost) {
  if (awaitsContinue_ && atMost > 0) {
    awaitsContinue_ = false;
    co_await send("HTTP/1.1 100 Continue\r\n\r\n");
  }
  std::uint64_t wanted = std::min(bodyLeft_, atMost);
  std::string chunk;
  while (wanted > 0) {
    if (buffer_.empty()) {
      chunk.resize(chunkSize);
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

Task<> LoopbackExchange::discardBody() {
  // A client that waits for permission to send takes the answer as a refusal, and the connection ends.
  if (awaitsContinue_ && bodyLeft_ > 0)
    keepAlive_ = false;
  else
    co_await readBody([](std::string_view) {});
}

Task<> LoopbackExchange::answer(int status, std::string contentType, std::string body, Headers more) {
  co_await discardBody();
  std::string head = fmt::format("HTTP/1.1 {} Answer\r\nContent-Type: {}\r\nContent-Length: {}\r\n", status,
                                 contentType, body.size());
  for (const auto& [name, value] : more) head += fmt::format("{}: {}\r\n", name, value);
  if (!keepAlive_) head += "Connection: close\r\n";
  head += "\r\n";
  if (request.method != "HEAD") head += body;
  co_await send(head);
}

Task<> LoopbackExchange::answerFile(std::string contentType, std::istream& file, std::uint64_t size) {
  co_await discardBody();
  co_await send(fmt::format("HTTP/1.1 200 Answer\r\nContent-Type: {}\r\nContent-Length: {}\r\n\r\n",
                            contentType, size));
  std::string chunk(chunkSize, '\0');
  while (size > 0 && request.method != "HEAD") {
    file.read(chunk.data(), static_cast<std::streamsize>(std::min<std::uint64_t>(size, chunkSize)));
    const auto count = static_cast<std::size_t>(file.gcount());
    if (count == 0) throw std::runtime_error("the file ended early");
    co_await send(std::string_view(chunk).substr(0, count));
    size -= count;
  }
}

Task<> LoopbackExchange::write(std::string_view bytes) {
  keepAlive_ = false;
  co_await send(bytes);
}

Task<> LoopbackExchange::hang() {
  keepAlive_ = false;
  char byte = 0;
  std::error_code error;
  while (!error)
    co_await socket_.async_read_some(asio::buffer(&byte, 1),
                                     asio::redirect_error(asio::use_awaitable, error));
}

Task<> LoopbackExchange::send(std::string_view bytes) {
  co_await asio::async_write(socket_, asio::buffer(bytes.data(), bytes.size()), asio::use_awaitable);
}

void LoopbackExchange::cut() {
  std::error_code ignored;
  socket_.set_option(asio::socket_base::linger(true, 0), ignored);
  socket_.close(ignored);
  keepAlive_ = false;
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
    std::error_code error;
    auto socket = co_await acceptor_.async_accept(asio::redirect_error(asio::use_awaitable, error));
    if (error) co_return;
    asio::co_spawn(context_, serve(std::move(socket)), asio::detached);
  }
}

Task<> LoopbackServer::serve(asio::ip::tcp::socket socket) {
  LoopbackExchange exchange(std::move(socket));
  try {
    for (;;) {
      const bool more = co_await exchange.readHead();
      if (!more) break;
      co_await handler_(exchange);
      // After raw bytes, or with body bytes still to come, nobody knows where the next request would start.
      if (!exchange.keepAlive_ || exchange.bodyLeft_ > 0) break;
    }
  } catch (const std::exception&) {
    // The client went away, or sent what is no request: either ends this connection only.
  }
}

}  // namespace quillant
