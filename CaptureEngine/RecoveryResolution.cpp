#include "CaptureEngine/RecoveryResolution.h"

namespace quillant::RecoveryResolution {

void keepAll(const std::vector<RecoveryItem>& items, const RecoveryService& service) {
  for (const auto& item : items) service.keep(item.recording);
}

void apply(const std::vector<RecoveryItem>& items, const std::vector<bool>& keep, Confirmation confirmation,
           const RecoveryService& service) {
  for (std::size_t index = 0; index < items.size(); ++index) {
    const auto& recording = items[index].recording;
    if (index >= keep.size() || keep[index])
      service.keep(recording);
    else if (confirmation == Confirmation::confirmed)
      RecoveryService::removeArtifacts(recording.screenVideo);
  }
}

}  // namespace quillant::RecoveryResolution
