#pragma once

#include <chrono>
#include <thread>

namespace quillant {

/// Waits until `condition` holds; false if it still does not after a time in which anything would have
/// happened.
template <class Condition>
bool eventually(Condition&& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

}  // namespace quillant
