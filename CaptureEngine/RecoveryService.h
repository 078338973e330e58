#pragma once

#include <filesystem>
#include <vector>

#include "CaptureEngine/RecoverableRecording.h"
#include "Core/Task.h"

namespace quillant {

/// Finds what interrupted sessions left in one directory. The caller sees to it that no session of this
/// process writes there meanwhile: a sweep takes every marker for an orphan's.
struct RecoveryService {
  std::filesystem::path directory;

  /// Newest first; a directory that cannot be listed has none. Only reads. Off the main thread.
  Task<std::vector<RecoverableRecording>> sweep() const;

  // Failed deletions are ignored.
  void keep(const RecoverableRecording& recording) const;  ///< Removes the marker; the files stay.
  static void removeMarker(const std::filesystem::path& screenVideo);
  /// Removes every file of the recording, and what was kept of its replaced sources.
  static void removeArtifacts(const std::filesystem::path& screenVideo);
};

}  // namespace quillant
