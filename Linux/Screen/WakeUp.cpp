#include "Linux/Screen/WakeUp.h"

#include <cerrno>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace quillant {

WakeUp::WakeUp() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

WakeUp::~WakeUp() {
  ::close(descriptor_);
}

void WakeUp::signal() const {
  ::eventfd_write(descriptor_, 1);
}

void WakeUp::clear() const {
  eventfd_t ignored = 0;
  ::eventfd_read(descriptor_, &ignored);
}

}  // namespace quillant
