#pragma once

#include <cstdint>
#include <filesystem>

#include "Core/Date.h"
#include "Core/JSONForward.h"

namespace quillant {

/// The file `x.recording` beside a recording that is under way. That it exists is what makes a recording an
/// orphan; what it says keeps two recordings from having one marker, and is for diagnosis.
struct RecordingMarker {
  Date startedAt;
  std::int32_t pid = 0;

  /// Marks a recording that this process starts now, over any marker that an earlier one has left. Throws
  /// `FileError`.
  static void write(const std::filesystem::path& screenVideo);
  /// The contents of a marker's file. Throws `FileError` or `JSONError`.
  static RecordingMarker read(const std::filesystem::path& path);

  /// Whether a process of this number runs that is not this one. One that died long ago may share its number
  /// with one that runs.
  bool isOfAnotherRunningProcess() const;

  friend bool operator==(const RecordingMarker&, const RecordingMarker&) = default;
};

void to_json(Json& json, const RecordingMarker& marker);
void from_json(const Json& json, RecordingMarker& marker);

}  // namespace quillant
