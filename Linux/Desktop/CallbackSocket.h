#pragma once

#include <asio/local/stream_protocol.hpp>
#include <cstddef>
#include <filesystem>
#include <string>
#include <sys/types.h>

#include "Core/Task.h"

namespace quillant {

/// The socket by which the process that waits for a sign-in's callback receives it from the process that the
/// browser started.
///
/// A line with the URL goes over, and a line "taken" or "refused" comes back. Both sides talk only to
/// processes of their own user.
class CallbackSocket {
 public:
  /// The longest URL that is taken, in bytes.
  static constexpr std::size_t longestURL = 16 * 1024;

  /// Where the socket of this session lies. Throws `FileError`.
  static std::filesystem::path path();

  /// Listens from now on; a process that listened before receives nothing more, one that was killed is in
  /// nobody's way. `executor` is a strand. Throws `FileError`.
  explicit CallbackSocket(const Executor& executor);
  ~CallbackSocket();
  CallbackSocket(const CallbackSocket&) = delete;
  CallbackSocket& operator=(const CallbackSocket&) = delete;

  /// The first URL of `scheme` that is handed over. Throws `std::system_error` when cancelled.
  Task<std::string> receive(std::string scheme);

 private:
  std::filesystem::path path_;
  ino_t file_ = 0;
  asio::local::stream_protocol::acceptor acceptor_;
};

}  // namespace quillant
