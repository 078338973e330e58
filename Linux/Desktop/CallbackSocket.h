#pragma once

#include <filesystem>
#include <string>

#include "Core/Task.h"
#include "Linux/Desktop/UserSocket.h"

namespace quillant {

/// The socket by which the process that waits for a sign-in's callback receives it from the process that the
/// browser started. The line that goes over is the URL.
class CallbackSocket {
 public:
  /// Where the socket of this session lies. Throws `FileError`.
  static std::filesystem::path path();

  /// As `UserSocket`.
  explicit CallbackSocket(const Executor& executor);

  /// The first URL of `scheme` that is handed over. Throws `std::system_error` when cancelled.
  Task<std::string> receive(std::string scheme);

 private:
  UserSocket socket_;
};

}  // namespace quillant
