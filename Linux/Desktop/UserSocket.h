#pragma once

#include <asio/local/stream_protocol.hpp>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/types.h>

#include "Core/Task.h"

namespace quillant {

/// A socket by which one process of a user receives lines from others of the same user. For each line one
/// comes back: "taken" or "refused".
class UserSocket {
 public:
  /// The longest line that is taken, in bytes.
  static constexpr std::size_t longestLine = 16 * 1024;

  /// Listens from now on; a process that listened at this path before receives nothing more, one that was
  /// killed is in nobody's way. `executor` is a strand. Throws `FileError`.
  UserSocket(const Executor& executor, std::filesystem::path path);
  ~UserSocket();
  UserSocket(const UserSocket&) = delete;
  UserSocket& operator=(const UserSocket&) = delete;

  /// The next line that is wanted; the others are refused. Throws `std::system_error` when cancelled.
  Task<std::string> receive(std::function<bool(const std::string&)> isWanted);

  /// Whether a process of this user listens at `path` and has taken the line. Blocking, for seconds at most.
  static bool send(const std::filesystem::path& path, const std::string& line);

 private:
  const std::filesystem::path path_;
  ino_t file_ = 0;
  asio::local::stream_protocol::acceptor acceptor_;
};

}  // namespace quillant
