#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "CaptureEngine/CameraSessionControlling.h"
#include "Linux/Camera/CameraInput.h"

namespace quillant {

/// A camera of the machine, read on a thread of its own from `start` to `stop`.
class DeviceCameraSession : public CameraSessionControlling {
 public:
  ~DeviceCameraSession() override;

  bool isAllowed() override;
  CameraFormat ensureInput() override;
  bool isRunning() const override { return thread_.joinable(); }
  void start() override;
  void stop() override;
  void setSink(Sink sink) override;
  void setOnRuntimeError(std::function<void()> onRuntimeError) override;
  void setPreferredDevice(std::optional<std::string> id) override;
  void connectPreview(CameraPreviewLayer& layer) override;
  void disconnectPreview(CameraPreviewLayer& layer) override;

 private:
  void run();
  void readFrames();
  bool waitUntil(MediaTime time);
  void deliver(PixelBufferRef pixelBuffer, MediaTime time);

  // Of the broker's queue; the thread uses the input while it runs.
  std::unique_ptr<CameraInput> input_;
  std::optional<std::string> preferredDevice_;
  std::function<void()> onRuntimeError_;
  std::thread thread_;

  std::mutex stopLock_;
  std::condition_variable stopRequested_;
  bool isStopping_ = false;

  std::mutex sinkLock_;
  Sink sink_;
  std::vector<CameraPreviewLayer*> previews_;
};

}  // namespace quillant
