#include "Linux/Sound/PulseSoundService.h"

#include <algorithm>
#include <utility>

#include "CaptureEngine/MicError.h"
#include "CaptureEngine/SystemAudioError.h"
#include "Linux/Sound/MicDevices.h"
#include "Linux/Sound/PulseConnection.h"
#include "Linux/Sound/PulseSoundStream.h"

namespace quillant {

namespace {

std::optional<std::string> microphone(const SoundDevices& devices,
                                      const std::optional<std::string>& preferredID) {
  const auto source = MicDevices::resolve(devices, preferredID);
  return source ? std::optional(source->id) : std::nullopt;
}

std::optional<std::string> monitorOfDefaultOutput(const SoundDevices& devices) {
  const auto found = std::find_if(devices.sources.begin(), devices.sources.end(), [&](const auto& source) {
    return !source.monitoredSink.empty() && source.monitoredSink == devices.defaultSink;
  });
  return found == devices.sources.end() ? std::nullopt : std::optional(found->id);
}

}  // namespace

std::shared_ptr<PulseConnection> PulseSoundService::connection() {
  const std::lock_guard lock(lock_);
  if (auto existing = connection_.lock()) {
    const PulseConnection::Lock alive(*existing);
    if (existing->isAlive()) return existing;
  }
  auto made = std::make_shared<PulseConnection>(patience_);
  connection_ = made;
  return made;
}

SoundDevices PulseSoundService::devices() {
  try {
    return connection()->devices();
  } catch (const PulseError&) {
    return {};
  }
}

Task<bool> PulseSoundService::requestMicrophoneAccess() {
  try {
    connection();
  } catch (const PulseError& error) {
    co_return !error.isRefusal();
  }
  co_return true;
}

std::unique_ptr<SoundStream> PulseSoundService::makeMicrophone(
    const std::optional<std::string>& preferredDeviceID, BufferCallback onBuffer) {
  std::shared_ptr<PulseConnection> server;
  std::optional<std::string> device;
  try {
    server = connection();
    device = microphone(server->devices(), preferredDeviceID);
  } catch (const PulseError&) {
    throw MicError(MicError::Kind::noMicrophone);
  }
  if (!device) throw MicError(MicError::Kind::noMicrophone);
  try {
    return std::make_unique<PulseSoundStream>(
        std::move(server),
        PulseSoundStream::Role{.name = "microphone",
                               .channels = 1,
                               .chooseDevice =
                                   [preferredDeviceID](const SoundDevices& devices) {
                                     return microphone(devices, preferredDeviceID);
                                   }},
        *device, std::move(onBuffer));
  } catch (const PulseError&) {
    throw MicError(MicError::Kind::cannotConfigure);
  }
}

std::unique_ptr<SoundStream> PulseSoundService::makeSystemAudio(BufferCallback onBuffer) {
  try {
    auto server = connection();
    const auto device = monitorOfDefaultOutput(server->devices());
    if (!device) throw SystemAudioError("there is no output to listen to");
    return std::make_unique<PulseSoundStream>(
        std::move(server),
        PulseSoundStream::Role{.name = "system audio", .channels = 2, .chooseDevice = monitorOfDefaultOutput},
        *device, std::move(onBuffer));
  } catch (const PulseError& error) {
    throw SystemAudioError(error.description());
  }
}

}  // namespace quillant
