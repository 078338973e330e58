#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "CaptureEngine/ClickDiagnostics.h"
#include "CaptureEngine/ClickEventSource.h"
#include "CaptureEngine/PauseClock.h"
#include "CaptureEngine/Telemetry/CursorTelemetryPayload.h"
#include "Core/Geometry.h"
#include "Core/MediaTime.h"

namespace quillant {

/// What a cursor recorder has seen, and the rules by which samples and clicks come about. It has neither a
/// thread nor a clock: its owner calls it on one queue, with host-clock times.
class CursorTrack {
 public:
  /// The pointer at one moment.
  struct Snapshot {
    Point location;  ///< In the region's coordinates; outside it when the pointer is.
    bool leftDown = false;
    bool rightDown = false;
    std::optional<Rect>
        liveRegion;  ///< What is recorded at this moment, if that can move or change its size.
  };

  struct Configuration {
    Rect region;                             ///< What is recorded, as at the start: points, y downwards.
    std::function<Snapshot()> source;        ///< Read for every sample.
    std::shared_ptr<PauseClock> pauseClock;  ///< May be null.
  };

  explicit CursorTrack(Configuration configuration);

  /// From now on clicks come from `handleClickEvent` (true) or from polling the buttons (false).
  void setClicksFromEvents(bool fromEvents) { clicksFromEvents_ = fromEvents; }

  /// Takes a sample.
  void tick(MediaTime time);
  /// Looks at the buttons between two ticks, so that a press shorter than their gap is noticed.
  void pollButtons();
  void handleClickEvent(const ClickEvent& event);

  CursorTelemetryPayload payload(MediaTime videoStart) const;
  ClickDiagnostics clickDiagnostics() const { return {clicksFromEvents_, caughtBetweenSamples_}; }

 private:
  struct Sample {
    MediaTime time;
    Point point;
    Rect region;
  };
  struct Click {
    Sample at;
    MouseButton button;
    int count;
  };

  bool isPaused() const { return configuration_.pauseClock && configuration_.pauseClock->isPaused(); }
  std::optional<MediaTime> adjust(MediaTime time) const;
  void remember(const Snapshot& snapshot);
  void press(const ClickEvent& event);
  void release(const ClickEvent& event);
  void recordClick(MouseButton button, const Sample& at);

  Configuration configuration_;
  std::vector<Sample> samples_;
  std::vector<Click> clicks_;
  bool previousLeft_ = false;
  bool previousRight_ = false;
  bool pendingLeftPress_ = false;
  bool pendingRightPress_ = false;
  int caughtBetweenSamples_ = 0;
  bool clicksFromEvents_ = false;
  std::set<MouseButton> pendingEventPresses_;     // the next tick records them
  std::map<MouseButton, MediaTime> pressStarts_;  // raw host times
};

}  // namespace quillant
