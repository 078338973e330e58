#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Linux/Sound/SoundDevices.h"

/// Which devices count as microphones, and which of them to record.
namespace quillant::MicDevices {

/// A monitor of an output is none; everything else is, for the server tells no more.
bool isMicrophone(const SoundDevices::Source& source);

/// The devices to offer, in the server's order.
std::vector<SoundDevices::Source> available(const SoundDevices& devices);

/// The preferred microphone if it is there, else the default one, else the first. Nothing if there is none.
std::optional<SoundDevices::Source> resolve(const SoundDevices& devices,
                                            const std::optional<std::string>& preferredID);

}  // namespace quillant::MicDevices
