#include "quillant/Models/MicMonitor.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <chrono>
#include <cmath>
#include <utility>

#include "Core/Error.h"
#include "Core/QueueTask.h"

namespace quillant {

namespace {

using Clock = std::chrono::steady_clock;

/// A microphone needs a while before anything comes from it.
constexpr auto patience = std::chrono::seconds(1);
constexpr double quietest = -60;  // decibels below full scale
constexpr double fall = 0.1;      // of the whole scale, between two looks

/// Written by the stream's thread.
struct Meter {
  std::atomic<float> peak = 0;
  std::atomic<bool> hasHeard = false;

  void add(const AudioBuffer& buffer) {
    float loudest = peak.load();
    for (const float sample : buffer.samples) loudest = std::max(loudest, std::abs(sample));
    peak = loudest;
    hasHeard = true;
  }
};

double scaled(float peak) {
  if (peak <= 0) return 0;
  return std::clamp(1 - 20 * std::log10(static_cast<double>(peak)) / quietest, 0.0, 1.0);
}

}  // namespace

struct MicMonitor::Listening {
  const std::shared_ptr<Meter> meter = std::make_shared<Meter>();
  std::unique_ptr<SoundStream> stream;
  std::optional<std::string> deviceID;
  Clock::time_point openedAt;

  bool isAlive(const std::optional<std::string>& asked) const {
    return stream && deviceID == asked &&
           (meter->hasHeard.exchange(false) || Clock::now() - openedAt < patience);
  }
  void open(const Environment& environment, std::optional<std::string> asked) {
    if (isAlive(asked)) return;
    stream.reset();
    deviceID = std::move(asked);
    openedAt = Clock::now();
    try {
      stream = environment.open(deviceID, [heard = meter](const AudioBuffer& buffer) { heard->add(buffer); });
      stream->start();
    } catch (const Error&) {  // a level that does not move says it; it is tried again
      stream.reset();
    }
  }
};

std::shared_ptr<MicMonitor> MicMonitor::make(Environment environment) {
  return std::shared_ptr<MicMonitor>(new MicMonitor(std::move(environment)));
}

MicMonitor::MicMonitor(Environment environment)
    : environment_(std::move(environment)), listening_(std::make_shared<Listening>()) {}

Task<> MicMonitor::refresh() {
  const auto self = shared_from_this();
  auto devices = co_await runOn(queue_, list(self));
  assert(sequence_.isCurrent());
  if (std::exchange(devices_, devices) != devices) changed.emit();
}

void MicMonitor::listen(std::optional<std::string> deviceID) {
  assert(sequence_.isCurrent());
  queue_.async([self = shared_from_this(), deviceID = std::move(deviceID)]() mutable {
    self->listening_->open(self->environment_, std::move(deviceID));
  });
}

void MicMonitor::stop() {
  assert(sequence_.isCurrent());
  level_ = 0;
  queue_.async([listening = listening_] { listening->stream.reset(); });
}

double MicMonitor::level() {
  assert(sequence_.isCurrent());
  level_ = std::max(scaled(listening_->meter->peak.exchange(0)), level_ - fall);
  level_ = std::max(level_, 0.0);
  return level_;
}

Task<std::vector<MicOption>> MicMonitor::list(std::shared_ptr<MicMonitor> self) {
  co_return self->environment_.devices();
}

}  // namespace quillant
