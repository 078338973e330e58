#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace quillant {

/// Memory for planes. It begins on a line of the cache; much of it lies on large pages where the system has
/// them, since a frame runs through so many small ones that finding them takes longer than some layers do.
struct FreePlaneBytes {
  std::size_t alignment = 0;
  void operator()(std::uint8_t* bytes) const;
};
using PlaneBytes = std::unique_ptr<std::uint8_t[], FreePlaneBytes>;

/// At least `size` bytes, of any content. Throws `std::bad_alloc`.
PlaneBytes allocatePlaneBytes(std::size_t size);

}  // namespace quillant
