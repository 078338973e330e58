#pragma once

#include "CaptureEngine/CameraService.h"
#include "CaptureEngine/CameraSessionBroker.h"

namespace quillant {

/// The shared camera, recorded through its broker.
class BrokeredCameraService : public CameraService {
 public:
  explicit BrokeredCameraService(CameraSessionBroker& broker) : broker_(broker) {}

  Task<bool> requestAccess() override;
  std::unique_ptr<FacecamCapturing> makeFacecam(const std::filesystem::path& outputURL,
                                                std::shared_ptr<PauseClock> pauseClock,
                                                FailureCallback onFailure) override;

 private:
  CameraSessionBroker& broker_;
};

}  // namespace quillant
