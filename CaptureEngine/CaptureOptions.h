#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "CaptureEngine/CaptureArea.h"
#include "CaptureEngine/CaptureResolution.h"
#include "Core/MediaTime.h"

namespace quillant {

/// What one session records, and where to.
struct CaptureOptions {
  std::filesystem::path outputURL;         ///< The screen video; the names of all other files derive from it.
  std::optional<std::uint32_t> displayID;  ///< Absent: the main display.
  std::optional<CaptureArea> area;
  std::optional<std::uint32_t> windowID;
  bool mic = false;
  std::optional<std::string> micDeviceID;
  bool systemAudio = false;
  bool facecam = false;
  bool telemetry = true;
  std::optional<int> frameRate;  ///< Frames a second at most; absent: 30.
  CaptureResolution resolution = CaptureResolution::native;

  /// The frame rate in force, at least 1.
  int effectiveFrameRate() const { return frameRate ? (*frameRate < 1 ? 1 : *frameRate) : 30; }
  MediaTime minimumFrameInterval() const { return {1, effectiveFrameRate()}; }

  friend bool operator==(const CaptureOptions&, const CaptureOptions&) = default;
};

}  // namespace quillant
