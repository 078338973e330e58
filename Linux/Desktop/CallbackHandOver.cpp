#include "Linux/Desktop/CallbackHandOver.h"

#include <cstdio>
#include <cstring>
#include <string_view>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include "Core/Error.h"
#include "Core/FileDescriptor.h"
#include "Linux/Desktop/CallbackSocket.h"
#include "QuillantCloud/QuillantConfig.h"

namespace quillant::CallbackHandOver {

namespace {

constexpr int failureExitCode = 70;
constexpr timeval timeLimit{.tv_sec = 5, .tv_usec = 0};

bool isCallback(std::string_view word) {
  return word.starts_with(std::string(QuillantConfig::callbackScheme) + ":");
}

/// A connection to the waiting process of this user, or none.
FileDescriptor connect() {
  const auto path = CallbackSocket::path().string();
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return {};
  path.copy(address.sun_path, path.size());

  FileDescriptor connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!connection) return {};
  ::setsockopt(connection.get(), SOL_SOCKET, SO_SNDTIMEO, &timeLimit, sizeof timeLimit);
  ::setsockopt(connection.get(), SOL_SOCKET, SO_RCVTIMEO, &timeLimit, sizeof timeLimit);
  if (::connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    return {};
  ucred credentials{};
  socklen_t size = sizeof credentials;
  const bool known = ::getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0;
  return known && credentials.uid == ::geteuid() ? std::move(connection) : FileDescriptor();
}

bool handOver(const std::string& url) {
  const auto connection = connect();
  if (!connection) return false;
  const auto line = url + "\n";
  if (::send(connection.get(), line.data(), line.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(line.size()))
    return false;
  constexpr std::string_view expected = "taken\n";
  char answer[expected.size()];
  const auto count = ::recv(connection.get(), answer, sizeof answer, MSG_WAITALL);
  return count > 0 && std::string_view(answer, static_cast<std::size_t>(count)) == expected;
}

}  // namespace

bool shouldRun(const std::vector<std::string>& arguments) {
  return arguments.size() > 1 && isCallback(arguments[1]);
}

int run(const std::vector<std::string>& arguments) {
  try {
    if (handOver(arguments.at(1))) return 0;
    std::fputs("quillant: no sign-in is waiting for this address — run `quillant login`\n", stderr);
  } catch (const Error& error) {
    std::fprintf(stderr, "quillant: the sign-in cannot be reached: %s\n", error.what());
  }
  return failureExitCode;
}

void eraseFromArguments(int count, char** arguments) {
  for (int index = 1; index < count; ++index)
    if (isCallback(arguments[index])) explicit_bzero(arguments[index], std::strlen(arguments[index]));
}

}  // namespace quillant::CallbackHandOver
