#include "Core/HostClock.h"

#include <chrono>

namespace quillant::HostClock {

MediaTime now() {
  using namespace std::chrono;
  return MediaTime::nanoseconds(duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count());
}

}  // namespace quillant::HostClock
