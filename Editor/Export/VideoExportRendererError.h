#pragma once

#include <string>

#include "Core/Error.h"

namespace quillant {

/// Why there is no exported file.
class VideoExportRendererError : public Error {
 public:
  enum class Kind {
    missingVideoTrack,
    exportSessionUnavailable,
    exportCancelled,  ///< Not a failure: not shown to the user.
    emptyTimeline,
    unsupportedFormat,
    gifDestinationUnavailable,
    gifFrameGenerationFailed,
    exportFailed,
  };

  /// `cause` is why an export failed, where that is known; other kinds have no use for it.
  explicit VideoExportRendererError(Kind kind, std::string cause = {});

  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

}  // namespace quillant
