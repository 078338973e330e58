#pragma once

#include <exception>
#include <filesystem>
#include <functional>

#include "CaptureEngine/PauseClock.h"
#include "CaptureEngine/RecordingArtifacts.h"
#include "Core/Task.h"

namespace quillant {

/// Tells that a running session cannot go on; any thread, at most once a session.
using FailureCallback = std::function<void(std::exception_ptr)>;

/// One session as its coordinator sees it. Used once: made, started, stopped.
class SessionCapturing {
 public:
  struct Finalized {
    RecordingArtifacts artifacts;
    std::exception_ptr stopError;  ///< Why the end was not clean; what was written before is in `artifacts`.
  };

  virtual ~SessionCapturing() = default;
  /// Throws an `Error`. A session that could not start is dropped, not stopped.
  virtual Task<void> start() = 0;
  /// Ends every source, closes every file. Never throws.
  virtual Task<Finalized> stopAndFinalize() = 0;
  virtual PauseClock& pauseClock() = 0;
  virtual const std::filesystem::path& outputURL() const = 0;
};

}  // namespace quillant
