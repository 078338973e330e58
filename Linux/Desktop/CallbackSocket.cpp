#include "Linux/Desktop/CallbackSocket.h"

#include <utility>

#include "Linux/Desktop/DesktopSession.h"

namespace quillant {

std::filesystem::path CallbackSocket::path() {
  return DesktopSession::runtimeFolder() / "sign-in.socket";
}

CallbackSocket::CallbackSocket(const Executor& executor) : socket_(executor, path()) {}

Task<std::string> CallbackSocket::receive(std::string scheme) {
  return socket_.receive(
      [start = std::move(scheme) + ":"](const std::string& line) { return line.starts_with(start); });
}

}  // namespace quillant
