#include "Linux/Camera/DeviceCameraSession.h"

#include <algorithm>
#include <chrono>
#include <unistd.h>
#include <utility>

#include "CaptureEngine/FacecamError.h"
#include "Core/HostClock.h"
#include "Linux/Camera/CameraDevices.h"
#include "MediaKit/MediaError.h"

namespace quillant {

namespace {

/// How long to wait before a camera that had no frame is asked again.
constexpr MediaTime pollInterval{4, 1000};
constexpr MediaTime errorInterval{1, 10};
/// A camera that has given no whole frame for this long has failed, though it does not say so.
constexpr MediaTime patience{5, 1};
/// A made-up source that is later than this goes on from now, as a camera that dropped frames would.
constexpr MediaTime latestFrame{1, 10};
/// A device's time stamp of a frame is trusted if it lies this close behind.
constexpr MediaTime oldestFrame{2, 1};

}  // namespace

DeviceCameraSession::~DeviceCameraSession() {
  stop();
}

bool DeviceCameraSession::isAllowed() {
  const auto device = CameraDevices::resolve(CameraDevices::available(), preferredDevice_);
  constexpr std::string_view videoDevice = "v4l2:";
  if (!device || !device->id.starts_with(videoDevice)) return true;
  return ::access(device->id.c_str() + videoDevice.size(), R_OK | W_OK) == 0;
}

CameraFormat DeviceCameraSession::ensureInput() {
  const auto device = CameraDevices::resolve(CameraDevices::available(), preferredDevice_);
  if (!device) throw FacecamError(FacecamError::Kind::noCamera);
  if (!input_ || input_->id() != device->id) {
    const bool wasRunning = isRunning();
    stop();
    input_ = std::make_unique<CameraInput>(device->id);
    if (wasRunning) start();
  }
  return input_->format();
}

void DeviceCameraSession::start() {
  if (isRunning()) return;
  ensureInput();
  isStopping_ = false;
  thread_ = std::thread([this] { run(); });
}

void DeviceCameraSession::stop() {
  if (isRunning()) {
    {
      const std::lock_guard lock(stopLock_);
      isStopping_ = true;
    }
    stopRequested_.notify_all();
    thread_.join();
  }
  input_.reset();
}

void DeviceCameraSession::setSink(Sink sink) {
  const std::lock_guard lock(sinkLock_);
  sink_ = std::move(sink);
}

void DeviceCameraSession::setOnRuntimeError(std::function<void()> onRuntimeError) {
  onRuntimeError_ = std::move(onRuntimeError);
}

void DeviceCameraSession::setPreferredDevice(std::optional<std::string> id) {
  preferredDevice_ = std::move(id);
}

void DeviceCameraSession::connectPreview(CameraPreviewLayer& layer) {
  const std::lock_guard lock(sinkLock_);
  previews_.push_back(&layer);
}

void DeviceCameraSession::disconnectPreview(CameraPreviewLayer& layer) {
  const std::lock_guard lock(sinkLock_);
  std::erase(previews_, &layer);
}

void DeviceCameraSession::run() {
  try {
    readFrames();
    return;
  } catch (...) {  // whatever it was, a frame's receiver included, the broker starts the camera afresh
  }
  const auto told = [this] {
    try {
      onRuntimeError_();
      return true;
    } catch (...) {  // no memory for even that: later
      return false;
    }
  };
  while (!told() && waitUntil(HostClock::now() + errorInterval)) continue;
}

void DeviceCameraSession::readFrames() {
  const auto begin = HostClock::now();
  auto zero = begin;  // of a made-up source
  auto lastFrame = begin;
  while (true) {
    auto frame = input_->read();
    const auto now = HostClock::now();
    if (!frame) {
      if (now - lastFrame > patience)
        throw MediaError(MediaError::Kind::unreadable, "the camera gives no more frames");
      if (!waitUntil(now + pollInterval)) return;
      continue;
    }
    lastFrame = now;
    MediaTime time = frame->time;
    if (!input_->isDevice()) {
      if (now - (zero + time) > latestFrame) zero = now - time;
      time = zero + time;
    } else if (!(time <= now) || now - time > oldestFrame) {
      time = now;
    }
    if (!waitUntil(time)) return;
    if (time >= begin) deliver(std::move(frame->pixelBuffer), time);
  }
}

/// False as soon as the session is to stop.
bool DeviceCameraSession::waitUntil(MediaTime time) {
  const auto rest = std::chrono::nanoseconds((time - HostClock::now()).converted(1'000'000'000).value);
  std::unique_lock lock(stopLock_);
  return !stopRequested_.wait_for(lock, std::max(rest, std::chrono::nanoseconds(0)),
                                  [this] { return isStopping_; });
}

void DeviceCameraSession::deliver(PixelBufferRef pixelBuffer, MediaTime time) {
  const std::lock_guard lock(sinkLock_);
  for (auto* layer : previews_) layer->show(pixelBuffer);
  if (sink_) sink_(std::move(pixelBuffer), time);
}

}  // namespace quillant
