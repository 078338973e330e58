#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "CaptureEngine/CameraService.h"
#include "CaptureEngine/CameraSessionBroker.h"
#include "CaptureEngine/FragmentedMP4Writer.h"
#include "Core/SerialQueue.h"

namespace quillant {

/// A session's recorder of the shared camera: its frames, in a file of their own. A camera that goes away, or
/// comes back with another size of picture, leaves the last picture frozen.
class FacecamCapture : public FacecamCapturing {
 public:
  /// Opens the camera and creates the file. Throws `FacecamError` or `WriterError`.
  FacecamCapture(std::filesystem::path outputURL, CameraSessionBroker& broker,
                 std::shared_ptr<PauseClock> pauseClock, FailureCallback onFailure);
  ~FacecamCapture() override;

  void start() override;
  void stop() override;
  Task<void> finish() override;
  MediaTime startTime() override;
  std::uint64_t frameCount() override;
  std::vector<std::string> warnings() override;

 private:
  void receive(PixelBufferRef pixelBuffer, MediaTime time);

  CameraSessionBroker& broker_;
  const FailureCallback onFailure_;
  CameraFormat format_;
  bool wasLost_ = false;
  // On the queue.
  bool hasChangedSize_ = false;
  MediaTime stopTime_ = MediaTime::invalid();
  SerialQueue queue_{"quillant.capture.facecam"};
  std::unique_ptr<FragmentedMP4Writer> writer_;
  CameraSessionBroker::Token token_;
};

}  // namespace quillant
