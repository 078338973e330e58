#include "CaptureEngine/CursorTrack.h"

#include <cmath>

#include "CaptureEngine/WindowCaptureMapper.h"

namespace quillant {

namespace {

constexpr MediaTime sampleGap{1, 60};
/// Clicks of one button that are less than this apart count up.
constexpr MediaTime multipleClickGap{1, 2};

}  // namespace

CursorTrack::CursorTrack(Configuration configuration) : configuration_(std::move(configuration)) {}

std::optional<MediaTime> CursorTrack::adjust(MediaTime time) const {
  return configuration_.pauseClock ? configuration_.pauseClock->adjust(time) : time;
}

void CursorTrack::remember(const Snapshot& snapshot) {
  previousLeft_ = snapshot.leftDown;
  previousRight_ = snapshot.rightDown;
}

void CursorTrack::tick(MediaTime time) {
  const auto adjusted = adjust(time);
  const Snapshot snapshot = configuration_.source();
  const bool pendingLeft = std::exchange(pendingLeftPress_, false);
  const bool pendingRight = std::exchange(pendingRightPress_, false);
  const auto pendingEvents = std::exchange(pendingEventPresses_, {});
  const bool leftWasDown = previousLeft_;
  const bool rightWasDown = previousRight_;
  remember(snapshot);
  if (!adjusted) return;

  const Rect region = snapshot.liveRegion.value_or(configuration_.region);
  const Sample& sample = samples_.emplace_back(Sample{*adjusted, snapshot.location, region});
  bool left = pendingEvents.contains(MouseButton::left);
  bool right = pendingEvents.contains(MouseButton::right);
  if (!clicksFromEvents_) {
    left = pendingLeft || (snapshot.leftDown && !leftWasDown);
    right = pendingRight || (snapshot.rightDown && !rightWasDown);
    if ((pendingLeft && !snapshot.leftDown) || (pendingRight && !snapshot.rightDown)) ++caughtBetweenSamples_;
  }
  if (left) recordClick(MouseButton::left, sample);
  if (right) recordClick(MouseButton::right, sample);
}

void CursorTrack::pollButtons() {
  const Snapshot snapshot = configuration_.source();
  if (isPaused()) {
    pendingLeftPress_ = false;
    pendingRightPress_ = false;
  } else {
    if (snapshot.leftDown && !previousLeft_) pendingLeftPress_ = true;
    if (snapshot.rightDown && !previousRight_) pendingRightPress_ = true;
  }
  remember(snapshot);
}

void CursorTrack::handleClickEvent(const ClickEvent& event) {
  if (!clicksFromEvents_) return;
  if (event.kind == ClickEvent::Kind::down)
    press(event);
  else
    release(event);
}

void CursorTrack::press(const ClickEvent& event) {
  const auto time = adjust(event.hostTime);
  if (!time) return;
  pressStarts_[event.button] = event.hostTime;
  if (samples_.empty() || samples_.back().time < *time) {
    pendingEventPresses_.insert(event.button);
    return;
  }
  // Delivered late: a click belongs to the first sample at or after it.
  auto sample = samples_.end() - 1;
  while (sample != samples_.begin() && (sample - 1)->time >= *time) --sample;
  recordClick(event.button, *sample);
}

void CursorTrack::release(const ClickEvent& event) {
  const auto start = pressStarts_.extract(event.button);
  if (start.empty()) return;
  if (event.hostTime - start.mapped() < sampleGap) ++caughtBetweenSamples_;
}

void CursorTrack::recordClick(MouseButton button, const Sample& at) {
  int count = 1;
  if (!clicks_.empty() && clicks_.back().button == button &&
      at.time - clicks_.back().at.time < multipleClickGap)
    count = clicks_.back().count + 1;
  clicks_.push_back({at, button, count});
}

CursorTelemetryPayload CursorTrack::payload(MediaTime videoStart) const {
  const Rect& region = configuration_.region;
  CursorTelemetryPayload payload{.width = std::llround(region.width), .height = std::llround(region.height)};
  const auto place = [&](const Sample& raw, auto& entry) {
    const MediaTime sinceStart = raw.time - videoStart;
    if (!(sinceStart >= MediaTime::zero())) return false;
    const Point point = WindowCaptureMapper::mapToPayload(raw.point, raw.region, region);
    entry.x = std::llround(point.x);
    entry.y = std::llround(point.y);
    entry.timestamp = sinceStart.converted(1000).value;
    return true;
  };
  payload.samples.reserve(samples_.size());
  for (const Sample& raw : samples_) {
    CursorTelemetrySample sample;
    if (place(raw, sample)) payload.samples.push_back(std::move(sample));
  }
  for (const Click& raw : clicks_) {
    CursorTelemetryClick click{.button = std::string(rawText(raw.button)), .clickCount = raw.count};
    if (place(raw.at, click)) payload.clicks.push_back(std::move(click));
  }
  return payload;
}

}  // namespace quillant
