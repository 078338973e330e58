#include "Linux/Sound/PulseConnection.h"

#include <algorithm>
#include <utility>

namespace quillant {

namespace {

/// An operation whose callback signals its completion.
void letRun(pa_operation* operation) {
  if (operation) ::pa_operation_unref(operation);
}

std::string text(const char* string) {
  return string ? string : "";
}

PulseConnection& self(void* connection) {
  return *static_cast<PulseConnection*>(connection);
}

}  // namespace

PulseConnection::Lock::Lock(const PulseConnection& connection) : loop_(connection.loop_.get()) {
  ::pa_threaded_mainloop_lock(loop_);
}
PulseConnection::Lock::~Lock() {
  ::pa_threaded_mainloop_unlock(loop_);
}

PulseConnection::PulseConnection(std::chrono::microseconds patience)
    : patience_(patience),
      loop_(::pa_threaded_mainloop_new()),
      context_(::pa_context_new(::pa_threaded_mainloop_get_api(loop_.get()), "Quillant")) {
  ::pa_context_set_state_callback(
      context_.get(), [](pa_context*, void* connection) { self(connection).stateChanged(); }, this);
  ::pa_context_set_subscribe_callback(
      context_.get(),
      [](pa_context*, pa_subscription_event_type_t, std::uint32_t, void* connection) {
        self(connection).refresh();
      },
      this);
  if (::pa_context_connect(context_.get(), nullptr, PA_CONTEXT_NOFLAGS, nullptr) < 0)
    fail("no sound server answers");
  ::pa_threaded_mainloop_start(loop_.get());

  bool isReady = false;
  {
    const Lock lock(*this);
    waitUntil([this] { return ::pa_context_get_state(context_.get()) == PA_CONTEXT_READY; });
    isReady = isAlive();
    if (isReady)
      letRun(::pa_context_subscribe(
          context_.get(),
          static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SOURCE | PA_SUBSCRIPTION_MASK_SERVER),
          nullptr, nullptr));
  }
  if (isReady) return;
  ::pa_threaded_mainloop_stop(loop_.get());
  fail("no sound server answers");
}

PulseConnection::~PulseConnection() {
  {
    const Lock lock(*this);
    ::pa_context_set_state_callback(context_.get(), nullptr, nullptr);
    ::pa_context_set_subscribe_callback(context_.get(), nullptr, nullptr);
    ::pa_context_disconnect(context_.get());
  }
  ::pa_threaded_mainloop_stop(loop_.get());
}

void PulseConnection::fail(const std::string& what) const {
  const int code = ::pa_context_errno(context_.get());
  throw PulseError(what, code == PA_OK ? PA_ERR_TIMEOUT : code);  // we ended it ourselves
}

bool PulseConnection::isAlive() const {
  return PA_CONTEXT_IS_GOOD(::pa_context_get_state(context_.get()));
}

void PulseConnection::waitUntil(const std::function<bool()>& isDone) {
  auto* deadline = ::pa_context_rttime_new(
      context_.get(), ::pa_rtclock_now() + static_cast<pa_usec_t>(patience_.count()),
      [](pa_mainloop_api*, pa_time_event*, const timeval*, void* connection) {
        ::pa_context_disconnect(self(connection).context());
      },
      this);
  while (!isDone() && isAlive()) ::pa_threaded_mainloop_wait(loop_.get());
  if (deadline) ::pa_threaded_mainloop_get_api(loop_.get())->time_free(deadline);
}

void PulseConnection::wake() const {
  ::pa_threaded_mainloop_signal(loop_.get(), 0);
}

void PulseConnection::stateChanged() noexcept {
  if (!isAlive())
    for (auto* listener : listeners_) listener->serverEnded();
  wake();
}

SoundDevices PulseConnection::devices() {
  const Lock lock(*this);
  refresh();
  waitUntil([this] { return !isRefreshing_; });
  if (!isAlive()) fail("the sound server went away");
  return devices_;
}

/// One question at a time; answers come in the order of the questions, the default devices first.
void PulseConnection::refresh() noexcept {
  if (std::exchange(isRefreshing_, true)) {
    isStale_ = true;
    return;
  }
  isStale_ = false;
  arriving_.emplace();
  letRun(::pa_context_get_server_info(
      context_.get(),
      [](pa_context*, const pa_server_info* info, void* connection) {
        if (info) self(connection).receive(*info);
      },
      this));
  letRun(::pa_context_get_source_info_list(
      context_.get(),
      [](pa_context*, const pa_source_info* info, int end, void* connection) {
        end ? self(connection).finishRefresh() : self(connection).receive(*info);
      },
      this));
}

void PulseConnection::receive(const pa_server_info& server) noexcept try {
  if (!arriving_) return;
  arriving_->defaultSource = text(server.default_source_name);
  arriving_->defaultSink = text(server.default_sink_name);
} catch (...) {
  arriving_.reset();
}

void PulseConnection::receive(const pa_source_info& source) noexcept try {
  if (!arriving_) return;
  arriving_->sources.push_back({.id = text(source.name),
                                .name = text(source.description),
                                .monitoredSink = text(source.monitor_of_sink_name)});
} catch (...) {
  arriving_.reset();
}

void PulseConnection::finishRefresh() noexcept {
  isRefreshing_ = false;
  if (arriving_) {
    devices_ = *std::exchange(arriving_, std::nullopt);
    for (auto* listener : listeners_) listener->devicesChanged(devices_);
  }
  if (isStale_) refresh();
  wake();
}

void PulseConnection::add(Listener& listener) {
  listeners_.push_back(&listener);
}

void PulseConnection::remove(Listener& listener) {
  std::erase(listeners_, &listener);
}

}  // namespace quillant
