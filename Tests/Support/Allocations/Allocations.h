#pragma once

#include <cstddef>

/// Linked with this, a program counts what it allocates by `new`, and can be made to run out of memory.
namespace quillant::Allocations {

/// On all threads, since the program began.
std::size_t count();

/// On the thread that made it there is memory for so many more allocations and no further, as long as it
/// lives.
class Shortage {
 public:
  explicit Shortage(int allowed);
  ~Shortage();
  Shortage(const Shortage&) = delete;
  Shortage& operator=(const Shortage&) = delete;
};

}  // namespace quillant::Allocations
