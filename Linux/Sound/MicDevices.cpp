#include "Linux/Sound/MicDevices.h"

#include <algorithm>
#include <iterator>

namespace quillant::MicDevices {

bool isMicrophone(const SoundDevices::Source& source) {
  return source.monitoredSink.empty();
}

std::vector<SoundDevices::Source> available(const SoundDevices& devices) {
  std::vector<SoundDevices::Source> result;
  std::copy_if(devices.sources.begin(), devices.sources.end(), std::back_inserter(result), isMicrophone);
  return result;
}

std::optional<SoundDevices::Source> resolve(const SoundDevices& devices,
                                            const std::optional<std::string>& preferredID) {
  const auto microphones = available(devices);
  if (microphones.empty()) return std::nullopt;
  const auto find = [&](const std::string& id) {
    return std::find_if(microphones.begin(), microphones.end(),
                        [&](const auto& source) { return source.id == id; });
  };
  auto found = preferredID ? find(*preferredID) : microphones.end();
  // A server without an input makes the monitor of its output the default, so that may be no microphone.
  if (found == microphones.end()) found = find(devices.defaultSource);
  return found == microphones.end() ? microphones.front() : *found;
}

}  // namespace quillant::MicDevices
