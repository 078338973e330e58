#include "Linux/Screen/ScreenStream.h"

#include <algorithm>
#include <array>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <utility>

#include "Core/HostClock.h"
#include "Linux/Screen/DisplaySource.h"
#include "Linux/Screen/WindowSource.h"

namespace quillant {

namespace {

/// Runs `work`; what it throws, as an error that a stream may report. This thread has released the error by
/// then, so that it belongs to whoever it is handed to.
template <class Work>
std::exception_ptr failureOf(Work&& work) {
  try {
    work();
    return nullptr;
  } catch (const ScreenError&) {
    return std::current_exception();
  } catch (const std::exception& other) {
    try {
      return std::make_exception_ptr(ScreenError(ScreenError::Kind::unavailable, other.what()));
    } catch (...) {  // no memory for the words
      return std::current_exception();
    }
  } catch (...) {
    return std::current_exception();
  }
}

/// Somebody waits to hear of it: where there is no memory for that, it is told as soon as there is.
template <class Telling>
void untilTold(Telling&& telling) noexcept {
  while (true) {
    try {
      return telling();
    } catch (...) {
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
  }
}

ScreenError serverLost(const X11Connection& x) {
  return {ScreenError::Kind::serverLost, x.whyDead()};
}

}  // namespace

ScreenStream::ScreenStream(std::string displayName, X11Connection::Duration patience, const X11Target& target,
                           const StreamConfiguration& configuration, SerialQueue& sampleQueue,
                           StreamCallbacks callbacks)
    : displayName_(std::move(displayName)),
      patience_(patience),
      target_(target),
      configuration_(configuration),
      interval_(std::chrono::nanoseconds(configuration.minimumFrameInterval.converted(1'000'000'000).value)),
      sampleQueue_(sampleQueue),
      delivery_(std::make_shared<Delivery>()),
      wakeUp_(std::make_shared<WakeUp>()),
      strand_(makeStrand()),
      started_(strand_),
      finished_(strand_) {
  delivery_->callbacks = std::move(callbacks);
}

ScreenStream::~ScreenStream() {
  if (!thread_.joinable()) return;
  requestStop();
  thread_.join();
}

Task<void> ScreenStream::startCapture() {
  thread_ = std::thread([this] { run(); });
  const bool isRunning = co_await runOn(strand_, started_.wait());
  if (isRunning) co_return;
  thread_.join();
  std::rethrow_exception(std::exchange(delivery_->failure, nullptr));
}

void ScreenStream::refresh() {
  refresh_ = true;
  wakeUp_->signal();
}

Task<void> ScreenStream::stopCapture() {
  if (!thread_.joinable()) co_return;
  requestStop();
  co_await runOn(strand_, finished_.wait());
  thread_.join();
  // What was posted before does nothing any more, but it may be running.
  const Continuation<bool> passed(strand_);
  sampleQueue_.async([passed] { passed.resume(true); });
  co_await runOn(strand_, passed.wait());
}

void ScreenStream::requestStop() {
  delivery_->isOpen = false;
  stopping_ = true;
  wakeUp_->signal();
  // Ends a wait for an answer, too, which a server that hangs would never give.
  ::shutdown(xcb_get_file_descriptor(x_->get()), SHUT_RDWR);
}

void ScreenStream::run() {
  pthread_setname_np(pthread_self(), "quillant.screen");
  // A start ends behind the first picture: whatever starts next is later than it on the clock, too.
  delivery_->failure = failureOf([this] {
    setUp();
    capture();
  });
  const bool isRunning = !delivery_->failure;
  untilTold([&] { started_.resume(isRunning); });
  if (!isRunning) return;
  delivery_->failure = failureOf([this] { captureUntilStopped(); });
  if (delivery_->failure)
    untilTold([this] {
      sampleQueue_.async([delivery = delivery_] {
        if (delivery->isOpen.exchange(false)) delivery->callbacks.onStopped(std::move(delivery->failure));
      });
    });
  untilTold([this] { finished_.resume(true); });
}

void ScreenStream::captureUntilStopped() {
  while (!stopping_) {
    if (refresh_.exchange(false)) {
      reader_->replace(source_->picture());
      pending_ = true;
      due_ = Clock::now();
    }
    handleEvents();
    if (pending_ && !starved_ && Clock::now() >= due_)
      capture();
    else
      waitForNews();
  }
}

void ScreenStream::setUp() {
  x_.emplace(displayName_, patience_);
  try {
    if (target_.window != XCB_WINDOW_NONE)
      source_ = std::make_unique<WindowSource>(*x_, target_.window);
    else
      source_ = std::make_unique<DisplaySource>(*x_, target_);
  } catch (const ScreenError&) {
    if (x_->isAlive()) throw;
  }
  if (!x_->isAlive()) throw serverLost(*x_);  // and not what its silence was taken for
  pool_ = std::make_shared<FramePool>(configuration_.width, configuration_.height, configuration_.queueDepth,
                                      wakeUp_);
  reader_.emplace(*x_, *pool_, source_->picture());
  due_ = Clock::now();
}

void ScreenStream::handleEvents() {
  while (const X11Reply<xcb_generic_event_t> event{xcb_poll_for_event(x_->get())}) {
    switch (source_->handle(*event)) {
      case CaptureSource::Change::none:
        break;
      case CaptureSource::Change::replaced:
        reader_->replace(source_->picture());
        [[fallthrough]];
      case CaptureSource::Change::damaged:
        // What comes after a rest is read at once and begins a new rhythm.
        if (!std::exchange(pending_, true)) due_ = std::max(due_, Clock::now());
        break;
    }
  }
  if (!x_->isAlive()) throw serverLost(*x_);
}

void ScreenStream::waitForNews() {
  xcb_flush(x_->get());
  std::array<pollfd, 2> descriptors{
      {{xcb_get_file_descriptor(x_->get()), POLLIN, 0}, {wakeUp_->descriptor(), POLLIN, 0}}};
  const bool untilDue = pending_ && !starved_;
  const auto left = untilDue ? std::max(Clock::duration::zero(), due_ - Clock::now()) : patience_;
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
  const timespec timeout{seconds.count(), std::chrono::nanoseconds(left - seconds).count()};
  const int ready = ::ppoll(descriptors.data(), descriptors.size(), &timeout, nullptr);
  if (ready == 0 && !untilDue) x_->synchronize();  // a silent server may be a still screen, or hang
  if (descriptors[1].revents != 0) {
    wakeUp_->clear();
    starved_ = false;
  }
}

void ScreenStream::capture() {
  if (source_->picture().drawable == XCB_NONE) {
    pending_ = false;
    return;
  }
  auto* slot = pool_->acquire();
  if (!slot) {  // the damage stays with the server meanwhile
    starved_ = true;
    return;
  }
  const auto now = Clock::now();
  due_ = due_ + interval_ > now ? due_ + interval_ : now + interval_;
  auto damage = source_->takeDamage();
  const MediaTime time = HostClock::now();
  auto changed = reader_->read(*slot, std::move(damage));
  pixelsFetched_ = reader_->pixelsFetched();
  if (!changed) {
    pool_->putBack(*slot);
    throw x_->isAlive() ? source_->ended() : serverLost(*x_);
  }
  pending_ = false;
  if (changed->empty())
    pool_->putBack(*slot);
  else
    deliver(pool_->publish(*slot, std::move(*changed)), time);
}

void ScreenStream::deliver(PixelBufferRef buffer, MediaTime time) {
  sampleQueue_.async([delivery = delivery_, buffer = std::move(buffer), time]() mutable {
    if (delivery->isOpen) delivery->callbacks.onFrame(std::move(buffer), time);
  });
}

}  // namespace quillant
