#include "DrawKit/Rendering/PlaneBytes.h"

#include <new>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace quillant {

namespace {

constexpr std::size_t cacheLine = 64;
constexpr std::size_t largePage = std::size_t{2} << 20;

}  // namespace

void FreePlaneBytes::operator()(std::uint8_t* bytes) const {
  ::operator delete[](bytes, std::align_val_t{alignment});
}

PlaneBytes allocatePlaneBytes(std::size_t size) {
  const std::size_t alignment = size >= largePage ? largePage : cacheLine;
  auto* const bytes = static_cast<std::uint8_t*>(::operator new[](size, std::align_val_t{alignment}));
#ifdef __linux__
  // Only what fills a page: no more memory is taken for it. Where it fails, the pages stay small.
  if (alignment == largePage) ::madvise(bytes, size / largePage * largePage, MADV_HUGEPAGE);
#endif
  return {bytes, {alignment}};
}

}  // namespace quillant
