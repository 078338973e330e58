#include "DrawKit/Rendering/PreparedPicture.h"

#include <numeric>

namespace quillant {

std::size_t PreparedPicture::bytes() const {
  return std::accumulate(blocks.begin(), blocks.end(), std::size_t{0},
                         [](std::size_t sum, const BlockStore::Block& block) { return sum + block.size; });
}

}  // namespace quillant
