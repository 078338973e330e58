#pragma once

#include "CaptureEngine/CameraService.h"
#include "CaptureEngine/ScreenService.h"
#include "CaptureEngine/SoundService.h"

namespace quillant {

/// What a session captures with. All of it outlives every session.
struct CaptureServices {
  ScreenService* screen = nullptr;  ///< Required: the picture, the pointer, the clicks.
  SoundService* sound = nullptr;    ///< Absent: asking for the microphone or system audio is refused.
  CameraService* camera = nullptr;  ///< Absent: asking for the camera is refused.
};

}  // namespace quillant
