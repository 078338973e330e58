#include "DrawKit/Rendering/BlockStore.h"

#include <algorithm>
#include <utility>

namespace quillant {

namespace {

/// A block may be this many times too large for its use, and so many are kept for the next use.
constexpr std::size_t largestWaste = 2;
constexpr std::size_t mostFree = 32;

}  // namespace

BlockStore::Block BlockStore::take(std::size_t size) {
  const auto fits = [&](const Block& block) {
    return block.size >= size && block.size <= largestWaste * std::max<std::size_t>(size, 4096);
  };
  if (const auto found = std::ranges::find_if(free_, fits); found != free_.end()) {
    Block block = std::move(*found);
    free_.erase(found);
    return block;
  }
  return {allocatePlaneBytes(size), size};
}

void BlockStore::giveBack(Block block) {
  if (free_.size() == mostFree) free_.erase(free_.begin());
  free_.push_back(std::move(block));
}

}  // namespace quillant
