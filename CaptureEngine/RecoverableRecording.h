#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <variant>

#include "Core/Date.h"

namespace quillant {

/// A recording whose session did not end normally.
struct RecoverableRecording {
  struct Playable {
    double duration;  ///< Seconds.
    friend bool operator==(const Playable&, const Playable&) = default;
  };
  struct Unsalvageable {
    std::string reason;
    friend bool operator==(const Unsalvageable&, const Unsalvageable&) = default;
  };
  using Status = std::variant<Playable, Unsalvageable>;

  std::filesystem::path screenVideo;
  std::optional<std::filesystem::path> facecam;
  std::optional<std::filesystem::path> cursorTelemetry;
  std::optional<Date> startedAt;
  Status status;
  std::filesystem::path marker;
  friend bool operator==(const RecoverableRecording&, const RecoverableRecording&) = default;
};

}  // namespace quillant
