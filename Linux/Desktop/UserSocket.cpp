#include "Linux/Desktop/UserSocket.h"

#include <asio/buffer.hpp>
#include <asio/experimental/awaitable_operators.hpp>
#include <asio/read_until.hpp>
#include <asio/write.hpp>
#include <chrono>
#include <string_view>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "Core/AtomicFile.h"
#include "Core/FileDescriptor.h"
#include "Core/UUID.h"

namespace quillant {

namespace {

using asio::local::stream_protocol;

/// A process that connects has its line ready.
constexpr auto lineTimeLimit = std::chrono::seconds(5);
constexpr timeval sendTimeLimit{.tv_sec = 5, .tv_usec = 0};

constexpr std::string_view takenAnswer = "taken\n";
constexpr std::string_view refusedAnswer = "refused\n";

ino_t fileNumber(const std::filesystem::path& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

bool belongsToThisUser(int socket) {
  ucred credentials{};
  socklen_t size = sizeof credentials;
  return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0 &&
         credentials.uid == ::geteuid();
}

/// Empty if it goes away, or sends what has no end.
Task<std::string> readLine(stream_protocol::socket& peer) {
  std::string text;
  std::error_code error;
  const std::size_t length =
      co_await asio::async_read_until(peer, asio::dynamic_buffer(text, UserSocket::longestLine), '\n',
                                      asio::redirect_error(asio::use_awaitable, error));
  text.resize(error ? 0 : length - 1);
  co_return text;
}

/// A connection to the listening process of this user, or none.
FileDescriptor connectTo(const std::filesystem::path& path) {
  const auto name = path.string();
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (name.size() >= sizeof address.sun_path) return {};
  name.copy(address.sun_path, name.size());

  FileDescriptor connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!connection) return {};
  ::setsockopt(connection.get(), SOL_SOCKET, SO_SNDTIMEO, &sendTimeLimit, sizeof sendTimeLimit);
  ::setsockopt(connection.get(), SOL_SOCKET, SO_RCVTIMEO, &sendTimeLimit, sizeof sendTimeLimit);
  if (::connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    return {};
  return belongsToThisUser(connection.get()) ? std::move(connection) : FileDescriptor();
}

}  // namespace

UserSocket::UserSocket(const Executor& executor, std::filesystem::path path)
    : path_(std::move(path)), acceptor_(executor) {
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

UserSocket::~UserSocket() {
  // A later process may have taken the place.
  std::error_code ignored;
  if (fileNumber(path_) == file_) std::filesystem::remove(path_, ignored);
}

Task<std::string> UserSocket::receive(std::function<bool(const std::string&)> isWanted) {
  using asio::experimental::awaitable_operators::operator||;
  for (;;) {
    auto peer = co_await acceptor_.async_accept(asio::use_awaitable);
    if (!belongsToThisUser(peer.native_handle())) continue;
    auto first = co_await (readLine(peer) || sleepFor(lineTimeLimit));
    auto* line = std::get_if<0>(&first);
    const bool taken = line && isWanted(*line);
    const auto answer = taken ? takenAnswer : refusedAnswer;
    std::error_code ignored;
    co_await asio::async_write(peer, asio::buffer(answer),
                               asio::redirect_error(asio::use_awaitable, ignored));
    if (taken) co_return std::move(*line);
  }
}

bool UserSocket::send(const std::filesystem::path& path, const std::string& line) {
  const auto connection = connectTo(path);
  if (!connection) return false;
  const auto text = line + "\n";
  if (::send(connection.get(), text.data(), text.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(text.size()))
    return false;
  char answer[takenAnswer.size()];
  const auto count = ::recv(connection.get(), answer, sizeof answer, MSG_WAITALL);
  return count > 0 && std::string_view(answer, static_cast<std::size_t>(count)) == takenAnswer;
}

}  // namespace quillant
