#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "CaptureEngine/FailureCause.h"
#include "Core/Task.h"

namespace quillant {

/// How a user is told that a recording ended by itself, and that what there was is safe.
struct CaptureInterruptedModel {
  FailureCause cause = FailureCause::unknown;
  double duration = 0;  ///< Seconds that were saved; finite, not negative.
  std::optional<std::int64_t> sizeBytes;
  std::optional<std::string> lowDiskFreeDescription;  ///< "1.2 GB"; set only if space is short.

  /// Reads duration and size off the video; a duration that cannot be read is 0. Off the main thread.
  static Task<CaptureInterruptedModel> make(FailureCause cause, std::filesystem::path screenVideo,
                                            std::optional<std::string> lowDiskFreeDescription);

  std::string eyebrow() const;
  std::string headline() const;
  std::string body() const;
  std::string reassurance() const;
  std::string clock() const;  ///< "4:32"
  std::string savedUpToLabel() const;
  std::string metaLine() const;  ///< "4 min 32 sec · 1 MB"
  bool showsLowDisk() const { return lowDiskFreeDescription.has_value(); }
  std::string lowDiskLine() const;

  friend bool operator==(const CaptureInterruptedModel&, const CaptureInterruptedModel&) = default;
};

}  // namespace quillant
