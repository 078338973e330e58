#include "Linux/Screen/SharedPixels.h"

#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

#include "CaptureEngine/ScreenService.h"

namespace quillant {

namespace {

ScreenError noRoom(int error) {
  if (error == EFBIG)  // what is shared with the server is a file without a name, to which the limit applies
    return {ScreenError::Kind::unavailable,
            "the limit on the size of files (see ulimit -f) is below one picture of the screen"};
  return {ScreenError::Kind::unavailable, fmt::format("there is no room for a picture of the screen ({})",
                                                      std::generic_category().message(error))};
}

}  // namespace

SharedPixels::SharedPixels(int width, int height) : width_(width), height_(height) {
  descriptor_ = ::memfd_create("quillant-screen", MFD_CLOEXEC);
  if (descriptor_ < 0) throw noRoom(errno);
  void* memory = MAP_FAILED;
  if (::ftruncate(descriptor_, static_cast<off_t>(size())) == 0)
    memory = ::mmap(nullptr, size(), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor_, 0);
  if (memory == MAP_FAILED) {
    const auto error = noRoom(errno);
    ::close(descriptor_);
    throw error;
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
