#include "CaptureEngine/DiskPressure.h"

#include <limits>
#include <sys/statvfs.h>

namespace quillant::DiskPressure {

std::optional<std::int64_t> availableBytes(const std::filesystem::path& url) {
  std::error_code error;
  auto path = std::filesystem::absolute(url, error).lexically_normal();
  while (path.has_relative_path() && !std::filesystem::exists(path, error)) path = path.parent_path();

  struct statvfs volume {};
  if (::statvfs(path.c_str(), &volume) != 0) return std::nullopt;
  std::int64_t bytes = 0;
  if (__builtin_mul_overflow(volume.f_bavail, volume.f_frsize, &bytes))
    return std::numeric_limits<std::int64_t>::max();
  return bytes;
}

FailureCause classify(std::optional<std::int64_t> freeBytes) {
  return freeBytes && *freeBytes <= floorBytes + marginBytes ? FailureCause::diskSpace
                                                             : FailureCause::unknown;
}

}  // namespace quillant::DiskPressure
