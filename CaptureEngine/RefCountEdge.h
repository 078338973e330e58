#pragma once

namespace quillant {

/// Counts the users of something shared, and tells the last who goes.
struct RefCountEdge {
  int count = 0;

  void add() { ++count; }
  /// True if there is nobody any more; a count of 0 stays.
  bool remove() { return count > 0 && --count == 0; }
};

}  // namespace quillant
