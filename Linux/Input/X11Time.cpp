#include "Linux/Input/X11Time.h"

#include <cstdint>
#include <cstdlib>

namespace quillant::X11Time {

MediaTime hostTime(xcb_timestamp_t serverTime, MediaTime now) {
  constexpr std::int64_t believableMilliseconds = 10'000;
  const std::int64_t milliseconds = now.converted(1000).value;
  const auto age = static_cast<std::int32_t>(static_cast<std::uint32_t>(milliseconds) - serverTime);
  if (std::abs(std::int64_t{age}) > believableMilliseconds) return now;
  return {milliseconds - age, 1000};
}

}  // namespace quillant::X11Time
