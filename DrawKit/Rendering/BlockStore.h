#pragma once

#include <cstddef>
#include <vector>

#include "DrawKit/Rendering/PlaneBytes.h"

namespace quillant {

/// Memory for planes that is used again, so that drawing frame after frame allocates nothing. One thread at
/// a time.
class BlockStore {
 public:
  struct Block {
    PlaneBytes bytes;
    std::size_t size = 0;
  };

  /// At least `size` bytes, of any content.
  Block take(std::size_t size);
  void giveBack(Block block);
  /// Frees what is not in use.
  void trim() { free_.clear(); }

 private:
  std::vector<Block> free_;
};

}  // namespace quillant
