#pragma once

#include <memory>

#include "CaptureEngine/ClickDiagnostics.h"
#include "CaptureEngine/ClickEventSource.h"
#include "CaptureEngine/CursorTrack.h"
#include "CaptureEngine/Telemetry/CursorTelemetryPayload.h"
#include "Core/MediaTime.h"
#include "Core/SerialQueue.h"

namespace quillant {

/// Records where the pointer was and when it clicked, for the editor to draw the cursor afresh and to find
/// zooms. Nothing here can fail a recording.
///
/// The track belongs to the recorder's queue, on which the pointer is read and the clicks are started and
/// stopped, too. `start`, `stop`, `payload` and `clickDiagnostics` are called by the one owner, off that
/// queue. Used once: started, stopped, read.
class CursorTelemetryRecorder {
 public:
  using Snapshot = CursorTrack::Snapshot;
  using Configuration = CursorTrack::Configuration;

  /// Without `clickEvents`, which outlive the recorder, the buttons are polled.
  explicit CursorTelemetryRecorder(Configuration configuration, ClickEventSource* clickEvents = nullptr);
  /// Stops if that has not been done.
  ~CursorTelemetryRecorder();
  CursorTelemetryRecorder(const CursorTelemetryRecorder&) = delete;
  CursorTelemetryRecorder& operator=(const CursorTelemetryRecorder&) = delete;

  void start();
  /// Nothing is recorded any more once this has returned; a second call does nothing.
  void stop();

  /// All that was recorded, in the time of a video whose first frame was at `videoStart` (pauses left out);
  /// what came before that frame is left out.
  CursorTelemetryPayload payload(MediaTime videoStart);
  ClickDiagnostics clickDiagnostics();

 private:
  CursorTrack track_;
  ClickEventSource* const clickEvents_;
  std::unique_ptr<QueueTimer> timer_;
  std::unique_ptr<QueueTimer> buttonTimer_;
  SerialQueue queue_{"quillant.capture.cursor"};  // last: it is joined before what runs on it goes
};

}  // namespace quillant
