#include "Linux/Screen/SharedPixels.h"

#include <cstring>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

namespace quillant {

SharedPixels::SharedPixels(int width, int height) : width_(width), height_(height) {
  descriptor_ = ::memfd_create("quillant-screen", MFD_CLOEXEC);
  if (descriptor_ < 0) throw std::bad_alloc();
  void* memory = MAP_FAILED;
  if (::ftruncate(descriptor_, static_cast<off_t>(size())) == 0)
    memory = ::mmap(nullptr, size(), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor_, 0);
  if (memory == MAP_FAILED) {
    ::close(descriptor_);
    throw std::bad_alloc();
  }
  data_ = static_cast<std::uint8_t*>(memory);
}

SharedPixels::~SharedPixels() {
  ::munmap(data_, size());
  ::close(descriptor_);
}

void copyPixels(const SharedPixels& from, SharedPixels& to, std::span<const PixelRect> rects) {
  for (const auto& rect : rects)
    for (int y = rect.y; y < rect.y + rect.height; ++y)
      std::memcpy(to.at(rect.x, y), from.at(rect.x, y), static_cast<std::size_t>(rect.width) * 4);
}

void blacken(SharedPixels& pixels, const PixelRect& rect) {
  for (int y = rect.y; y < rect.y + rect.height; ++y)
    std::memset(pixels.at(rect.x, y), 0, static_cast<std::size_t>(rect.width) * 4);
}

}  // namespace quillant
