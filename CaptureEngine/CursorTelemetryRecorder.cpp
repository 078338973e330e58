#include "CaptureEngine/CursorTelemetryRecorder.h"

#include <chrono>
#include <utility>

#include "Core/HostClock.h"

namespace quillant {

namespace {

using namespace std::chrono_literals;
constexpr auto sampleInterval = std::chrono::nanoseconds(1s) / 60;
constexpr auto buttonInterval = 4ms;

}  // namespace

CursorTelemetryRecorder::CursorTelemetryRecorder(Configuration configuration,
                                                 std::unique_ptr<ClickEventSource> clickEvents)
    : track_(std::move(configuration)), clickEvents_(std::move(clickEvents)) {}

CursorTelemetryRecorder::~CursorTelemetryRecorder() {
  stop();
}

void CursorTelemetryRecorder::start() {
  // On the queue, so that an event which comes at once waits behind the decision that events count.
  queue_.sync([this] {
    const bool fromEvents =
        clickEvents_ &&
        clickEvents_->start({.onEvent =
                                 [this](const ClickEvent& event) {
                                   queue_.async([this, event] { track_.handleClickEvent(event); });
                                 },
                             .onLost = [this] { queue_.async([this] { pollButtons(); }); }});
    track_.setClicksFromEvents(fromEvents);
    timer_ =
        std::make_unique<QueueTimer>(queue_, 0s, sampleInterval, [this] { track_.tick(HostClock::now()); });
    if (!fromEvents) pollButtons();
  });
}

void CursorTelemetryRecorder::pollButtons() {
  track_.setClicksFromEvents(false);
  buttonTimer_ = std::make_unique<QueueTimer>(queue_, 0s, buttonInterval, [this] { track_.pollButtons(); });
}

void CursorTelemetryRecorder::stop() {
  if (clickEvents_) clickEvents_->stop();
  queue_.sync([this] {
    buttonTimer_.reset();
    timer_.reset();
  });
}

CursorTelemetryPayload CursorTelemetryRecorder::payload(MediaTime videoStart) {
  return queue_.sync([&] { return track_.payload(videoStart); });
}

ClickDiagnostics CursorTelemetryRecorder::clickDiagnostics() {
  return queue_.sync([&] { return track_.clickDiagnostics(); });
}

}  // namespace quillant
