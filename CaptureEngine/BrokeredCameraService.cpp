#include "CaptureEngine/BrokeredCameraService.h"

#include <utility>

#include "CaptureEngine/FacecamCapture.h"

namespace quillant {

Task<bool> BrokeredCameraService::requestAccess() {
  co_return broker_.isAllowed();
}

std::unique_ptr<FacecamCapturing> BrokeredCameraService::makeFacecam(const std::filesystem::path& outputURL,
                                                                     std::shared_ptr<PauseClock> pauseClock,
                                                                     FailureCallback onFailure) {
  return std::make_unique<FacecamCapture>(outputURL, broker_, std::move(pauseClock), std::move(onFailure));
}

}  // namespace quillant
