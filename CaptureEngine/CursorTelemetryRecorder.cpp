#include "CaptureEngine/CursorTelemetryRecorder.h"

#include <chrono>
#include <utility>

#include "Core/HostClock.h"

namespace quillant {

namespace {

using namespace std::chrono_literals;
constexpr auto sampleInterval = std::chrono::nanoseconds(1s) / 60;
constexpr auto buttonInterval = 4ms;

/// A sample for which there is no memory is left out; the recording goes on.
template <class Work>
void attempt(Work&& work) noexcept try {
  work();
} catch (...) {
}

}  // namespace

CursorTelemetryRecorder::CursorTelemetryRecorder(Configuration configuration, ClickEventSource* clickEvents)
    : track_(std::move(configuration)), clickEvents_(clickEvents) {}

CursorTelemetryRecorder::~CursorTelemetryRecorder() {
  stop();
}

void CursorTelemetryRecorder::start() {
  queue_.sync([this] {
    // Told on the queue, behind the sample that is being taken.
    const bool fromEvents = clickEvents_ && clickEvents_->start([this](const ClickEvent& event) {
      attempt([&] { queue_.async([this, event] { attempt([&] { track_.handleClickEvent(event); }); }); });
    });
    track_.setClicksFromEvents(fromEvents);
    timer_ = std::make_unique<QueueTimer>(queue_, 0s, sampleInterval,
                                          [this] { attempt([this] { track_.tick(HostClock::now()); }); });
    if (!fromEvents)
      buttonTimer_ = std::make_unique<QueueTimer>(queue_, 0s, buttonInterval,
                                                  [this] { attempt([this] { track_.pollButtons(); }); });
  });
}

void CursorTelemetryRecorder::stop() {
  queue_.sync([this] {
    if (clickEvents_) clickEvents_->stop();
    buttonTimer_.reset();
    timer_.reset();
  });
  queue_.sync([] {});  // behind the clicks that were delivered last
}

CursorTelemetryPayload CursorTelemetryRecorder::payload(MediaTime videoStart) {
  return queue_.sync([&] { return track_.payload(videoStart); });
}

ClickDiagnostics CursorTelemetryRecorder::clickDiagnostics() {
  return queue_.sync([&] { return track_.clickDiagnostics(); });
}

}  // namespace quillant
