#pragma once

namespace quillant {

/// A reference count that reports when it drops to zero.
struct RefCountEdge {
  int count = 0;

  void add() { ++count; }
  /// True if the count is 0 now; a count of 0 stays 0.
  bool remove() { return count > 0 && --count == 0; }
};

}  // namespace quillant
