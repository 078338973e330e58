#pragma once

#include "CaptureEngine/CameraSessionBroker.h"
#include "CaptureEngine/CaptureServices.h"
#include "quillant/Commands/SelfCheck.h"

namespace quillant {

/// "facecam-contention": opens and closes previews of the shared camera before and during recordings. None
/// may end up in a recording's camera file: its first frame is never older than the screen's.
class CameraContentionCLI : public SelfCheck {
 public:
  /// `broker` outlives the command.
  CameraContentionCLI(CaptureServices services, CameraSessionBroker& broker)
      : SelfCheck("facecam-contention", ""), services_(std::move(services)), broker_(broker) {}

 protected:
  bool passes(const std::vector<std::string>& words) override;

 private:
  const CaptureServices services_;
  CameraSessionBroker& broker_;
};

}  // namespace quillant
