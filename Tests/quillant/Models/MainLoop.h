#pragma once

#include <asio/io_context.hpp>
#include <deque>

namespace quillant {

/// A main thread for one test. It is never destroyed: the background's threads, which nobody joins, let go of
/// its executor when they come to it.
inline asio::io_context& makeMainLoop() {
  static auto& loops = *new std::deque<asio::io_context>;
  return loops.emplace_back(1);
}

}  // namespace quillant
