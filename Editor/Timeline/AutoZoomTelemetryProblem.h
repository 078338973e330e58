#pragma once

namespace quillant {

/// Why a recording's zooms cannot be generated.
enum class AutoZoomTelemetryProblem {
  missing,     ///< The recording has no telemetry file.
  unreadable,  ///< The file does not parse.
};

}  // namespace quillant
