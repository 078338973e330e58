#pragma once

#include <functional>
#include <memory>

#include "CaptureEngine/CameraService.h"
#include "CaptureEngine/ClickEventSource.h"
#include "CaptureEngine/CursorTrack.h"
#include "CaptureEngine/ScreenService.h"
#include "CaptureEngine/SoundService.h"
#include "CaptureEngine/WindowFrameProbe.h"

namespace quillant {

/// What a session captures with. All of it outlives every session.
struct CaptureServices {
  ScreenService* screen = nullptr;           ///< Required.
  WindowFrameProbe* windowFrames = nullptr;  ///< Absent: a window counts as standing still.
  SoundService* sound = nullptr;    ///< Absent: asking for the microphone or system audio is refused.
  CameraService* camera = nullptr;  ///< Absent: asking for the camera is refused.
  /// Reads the pointer; any thread. Required for telemetry.
  std::function<CursorTrack::Snapshot()> pointer;
  /// Absent, or giving none: the buttons are polled.
  std::function<std::unique_ptr<ClickEventSource>()> makeClickEvents;
};

}  // namespace quillant
