#include "Linux/Desktop/CallbackSocket.h"

#include <asio/buffer.hpp>
#include <asio/experimental/awaitable_operators.hpp>
#include <asio/read_until.hpp>
#include <asio/write.hpp>
#include <chrono>
#include <string_view>
#include <sys/socket.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "Core/AtomicFile.h"
#include "Core/UUID.h"
#include "Linux/Desktop/DesktopSession.h"

namespace quillant {

namespace {

using asio::local::stream_protocol;

/// A process that connects has its line ready.
constexpr auto lineTimeLimit = std::chrono::seconds(5);

ino_t fileNumber(const std::filesystem::path& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

bool belongsToThisUser(stream_protocol::socket& peer) {
  ucred credentials{};
  socklen_t size = sizeof credentials;
  return ::getsockopt(peer.native_handle(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0 &&
         credentials.uid == ::geteuid();
}

/// Empty if it goes away, or sends what has no end.
Task<std::string> readLine(stream_protocol::socket& peer) {
  std::string text;
  std::error_code error;
  const std::size_t length =
      co_await asio::async_read_until(peer, asio::dynamic_buffer(text, CallbackSocket::longestURL), '\n',
                                      asio::redirect_error(asio::use_awaitable, error));
  text.resize(error ? 0 : length - 1);
  co_return text;
}

}  // namespace

std::filesystem::path CallbackSocket::path() {
  return DesktopSession::runtimeFolder() / "sign-in.socket";
}

CallbackSocket::CallbackSocket(const Executor& executor) : path_(path()), acceptor_(executor) {
  // Made under another name and then renamed, it takes the place of whatever lies there at once.
  const auto made = path_.parent_path() / UUID::random().text();
  std::error_code error;
  acceptor_.open(stream_protocol(), error);
  if (!error) acceptor_.bind(stream_protocol::endpoint(made.string()), error);
  if (!error) acceptor_.listen(asio::socket_base::max_listen_connections, error);
  file_ = fileNumber(made);
  if (!error) std::filesystem::rename(made, path_, error);
  if (!error) return;
  std::error_code ignored;
  std::filesystem::remove(made, ignored);
  throw FileError("listen at", path_, error);
}

CallbackSocket::~CallbackSocket() {
  // A later sign-in may have taken the place.
  std::error_code ignored;
  if (fileNumber(path_) == file_) std::filesystem::remove(path_, ignored);
}

Task<std::string> CallbackSocket::receive(std::string scheme) {
  using asio::experimental::awaitable_operators::operator||;
  for (;;) {
    auto peer = co_await acceptor_.async_accept(asio::use_awaitable);
    if (!belongsToThisUser(peer)) continue;
    auto first = co_await (readLine(peer) || sleepFor(lineTimeLimit));
    auto* line = std::get_if<0>(&first);
    const bool taken = line && line->starts_with(scheme + ":");
    const std::string_view answer = taken ? "taken\n" : "refused\n";
    std::error_code ignored;
    co_await asio::async_write(peer, asio::buffer(answer),
                               asio::redirect_error(asio::use_awaitable, ignored));
    if (taken) co_return std::move(*line);
  }
}

}  // namespace quillant
