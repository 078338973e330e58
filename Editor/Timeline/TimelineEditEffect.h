#pragma once

#include <filesystem>
#include <variant>
#include <vector>

#include "Editor/Timeline/TimelineZoomRegion.h"

namespace quillant {

/// Zooms are to be generated from the telemetry of a recording, and to come back as an event.
struct GenerateAutoZooms {
  std::filesystem::path videoURL;
  double duration = 0;
  TimelineZoomAnimationPreset preset = TimelineZoomAnimationPreset::balanced;

  friend bool operator==(const GenerateAutoZooms&, const GenerateAutoZooms&) = default;
};

/// What an event asks of the world: the rules themselves touch no file.
using TimelineEditEffect = std::variant<GenerateAutoZooms>;
using TimelineEditEffects = std::vector<TimelineEditEffect>;

}  // namespace quillant
