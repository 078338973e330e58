#include "Linux/Sound/PulseSoundStream.h"

#include <utility>

#include "Core/HostClock.h"

namespace quillant {

namespace {

constexpr int sampleRate = 48'000;
/// How much sound comes at once: small, so that little is lost when the process dies.
constexpr std::uint32_t framesPerFragment = sampleRate / 50;
/// A source that leaves out more than this has stopped. Sound that is late has its time all the same.
constexpr MediaTime longestGap{2, 1};

std::size_t bytesPerFrame(int channels) {
  return sizeof(float) * static_cast<std::size_t>(channels);
}

}  // namespace

PulseSoundStream::PulseSoundStream(std::shared_ptr<PulseConnection> connection, Role role,
                                   const std::string& device, SoundService::BufferCallback onBuffer)
    : connection_(std::move(connection)),
      role_(std::move(role)),
      onBuffer_(std::move(onBuffer)),
      clock_(sampleRate) {
  const PulseConnection::Lock lock(*connection_);
  open(device);
  connection_->waitUntil([this] { return !stream_ || ::pa_stream_get_state(stream_) != PA_STREAM_CREATING; });
  if (!stream_)
    throw PulseError("could not record from " + device, ::pa_context_errno(connection_->context()));
  connection_->add(*this);
}

PulseSoundStream::~PulseSoundStream() {
  stop();
}

void PulseSoundStream::start() {
  const PulseConnection::Lock lock(*connection_);
  isDelivering_ = true;
  heardUntil_ = HostClock::now();
}

void PulseSoundStream::stop() {
  const PulseConnection::Lock lock(*connection_);
  if (std::exchange(isStopped_, true)) return;
  if (!stream_) warn("its stream was ended");
  warnIfSilentUntil(HostClock::now());
  connection_->remove(*this);
  close();
}

std::vector<std::string> PulseSoundStream::warnings() {
  const PulseConnection::Lock lock(*connection_);
  if (!whyStopped_) return {};
  return {role_.name + " stopped during the recording — " + whyStopped_};
}

void PulseSoundStream::open(const std::string& device) {
  const pa_sample_spec form{PA_SAMPLE_FLOAT32NE, sampleRate, static_cast<std::uint8_t>(role_.channels)};
  stream_ = ::pa_stream_new(connection_->context(), role_.name.c_str(), &form, nullptr);
  if (!stream_) return;
  device_ = device;
  clock_ = SampleClock(sampleRate);
  ::pa_stream_set_state_callback(
      stream_,
      [](pa_stream* stream, void* context) {
        auto& self = *static_cast<PulseSoundStream*>(context);
        if (!PA_STREAM_IS_GOOD(::pa_stream_get_state(stream))) self.close();
        self.connection_->wake();
      },
      this);
  ::pa_stream_set_read_callback(
      stream_,
      [](pa_stream*, std::size_t, void* context) { static_cast<PulseSoundStream*>(context)->read(); }, this);
  constexpr auto whatever = static_cast<std::uint32_t>(-1);
  const pa_buffer_attr buffering{
      .maxlength = whatever,
      .tlength = whatever,
      .prebuf = whatever,
      .minreq = whatever,
      .fragsize = framesPerFragment * static_cast<std::uint32_t>(bytesPerFrame(role_.channels))};
  constexpr int flags = PA_STREAM_ADJUST_LATENCY | PA_STREAM_AUTO_TIMING_UPDATE |
                        PA_STREAM_INTERPOLATE_TIMING | PA_STREAM_DONT_MOVE;
  if (::pa_stream_connect_record(stream_, device.c_str(), &buffering, static_cast<pa_stream_flags_t>(flags)) <
      0)
    close();
}

void PulseSoundStream::close() {
  if (!stream_) return;
  auto* stream = std::exchange(stream_, nullptr);
  ::pa_stream_set_state_callback(stream, nullptr, nullptr);
  ::pa_stream_set_read_callback(stream, nullptr, nullptr);
  ::pa_stream_disconnect(stream);
  ::pa_stream_unref(stream);
}

void PulseSoundStream::devicesChanged(const SoundDevices& devices) noexcept try {
  const auto device = role_.chooseDevice(devices);
  if (stream_ && device == device_) return;
  close();
  if (device)
    open(*device);
  else
    warn("its device went away");
} catch (...) {  // without memory there is no other device: what is left of the stream tells
}

void PulseSoundStream::serverEnded() noexcept {
  warn("the sound server went away");
  close();
}

void PulseSoundStream::warn(const char* reason) noexcept {
  if (!whyStopped_) whyStopped_ = reason;
}

void PulseSoundStream::warnIfSilentUntil(MediaTime time) noexcept {
  if (isDelivering_ && time - heardUntil_ > longestGap) warn("no sound came from it");
}

void PulseSoundStream::read() {
  // Whoever receives the sound may not end the stream, so it stays valid in here.
  while (::pa_stream_readable_size(stream_) > 0) {
    const void* data = nullptr;
    std::size_t bytes = 0;
    if (::pa_stream_peek(stream_, &data, &bytes) < 0 || bytes == 0) return;
    deliver(data, bytes);
    ::pa_stream_drop(stream_);
  }
}

/// No data means a hole in the stream, which takes its time all the same. Sound for which there is no memory
/// is another hole: nothing may be thrown through the client library, which calls.
void PulseSoundStream::deliver(const void* data, std::size_t bytes) noexcept try {
  const auto frameCount = static_cast<int>(bytes / bytesPerFrame(role_.channels));
  const auto time = clock_.stamp(frameCount, timeOfNextSample(frameCount));
  warnIfSilentUntil(time);
  heardUntil_ = time + MediaTime{frameCount, sampleRate};
  if (!data || !isDelivering_) return;
  const auto* samples = static_cast<const float*>(data);
  onBuffer_({.time = time,
             .sampleRate = sampleRate,
             .channels = role_.channels,
             .samples = {samples, samples + bytes / sizeof(float)}});
} catch (...) {
}

MediaTime PulseSoundStream::timeOfNextSample(int frameCount) const {
  const auto now = HostClock::now();
  pa_usec_t latency = 0;
  int isNegative = 0;
  // Before the server's first answer the sound itself is all that is known to lie between.
  if (::pa_stream_get_latency(stream_, &latency, &isNegative) < 0)
    return now - MediaTime{frameCount, sampleRate};
  const MediaTime difference{static_cast<std::int64_t>(latency), 1'000'000};
  return isNegative ? now + difference : now - difference;
}

}  // namespace quillant
