#pragma once

#include <memory>
#include <vector>

#include "CaptureEngine/BrokeredCameraService.h"
#include "CaptureEngine/CameraSessionBroker.h"
#include "CaptureEngine/CaptureServices.h"
#include "Editor/Captions/Transcriber.h"
#include "Linux/Camera/DeviceCameraSession.h"
#include "Linux/Screen/X11ScreenService.h"
#include "Linux/Sound/PulseSoundService.h"
#include "quillant/CloudServices.h"
#include "quillant/Models/CameraPreview.h"
#include "quillant/Models/MicMonitor.h"

namespace quillant {

/// The one place that chooses the platform. Nothing is opened before it is used.
class PlatformServices {
 public:
  /// Valid as long as this object.
  CaptureServices captureServices();
  /// The camera of `captureServices`, for those who preview it.
  CameraSessionBroker& cameraBroker() { return cameraBroker_; }
  /// What there is to record sound from, the default one first. Blocking.
  std::vector<MicOption> microphones();
  /// The same of cameras.
  static std::vector<CameraOption> cameras();
  /// The service's token lies in the keyring; a sign-in goes through the desktop's browser, through the
  /// terminal, or through both, as there are.
  static CloudServices cloudServices();
  /// Listens on this machine, in the system's language, by what is installed at the time of the call.
  /// Blocking, for a moment.
  static Transcriber transcriber();

 private:
  X11ScreenService screen_;
  PulseSoundService sound_;
  CameraSessionBroker cameraBroker_{std::make_unique<DeviceCameraSession>()};
  BrokeredCameraService camera_{cameraBroker_};
};

}  // namespace quillant
