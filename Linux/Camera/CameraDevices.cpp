#include "Linux/Camera/CameraDevices.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <linux/videodev2.h>
#include <sys/ioctl.h>

#include "Core/FileDescriptor.h"

namespace quillant::CameraDevices {

namespace {

/// What the device calls itself; nothing if it delivers no pictures. A device that may not be opened, or is
/// taken, counts: that is to be told later.
std::optional<std::string> cameraName(const std::filesystem::path& device) {
  const FileDescriptor descriptor(::open(device.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
  if (descriptor.get() < 0) {
    if (errno == EACCES || errno == EPERM || errno == EBUSY) return device.filename().string();
    return std::nullopt;
  }
  v4l2_capability capability{};
  if (::ioctl(descriptor.get(), VIDIOC_QUERYCAP, &capability) != 0) return std::nullopt;
  // One camera has several devices; those for its metadata capture nothing.
  if ((capability.device_caps & V4L2_CAP_VIDEO_CAPTURE) == 0) return std::nullopt;
  return reinterpret_cast<const char*>(capability.card);
}

}  // namespace

std::vector<Info> available() {
  if (const char* named = std::getenv("QUILLANT_CAMERA"); named && *named) return {{named, named}};
  std::vector<std::filesystem::path> candidates;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator("/dev", ignored))
    if (entry.path().filename().string().starts_with("video")) candidates.push_back(entry.path());
  std::sort(candidates.begin(), candidates.end());
  std::vector<Info> result;
  for (const auto& device : candidates)
    if (auto name = cameraName(device)) result.push_back({"v4l2:" + device.string(), std::move(*name)});
  return result;
}

std::optional<Info> resolve(const std::vector<Info>& devices, const std::optional<std::string>& preferredID) {
  if (devices.empty()) return std::nullopt;
  const auto found = std::find_if(devices.begin(), devices.end(),
                                  [&](const auto& device) { return device.id == preferredID; });
  return found == devices.end() ? devices.front() : *found;
}

}  // namespace quillant::CameraDevices
