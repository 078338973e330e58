#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "CaptureEngine/PauseClock.h"
#include "CaptureEngine/SessionCapturing.h"
#include "Core/MediaTime.h"
#include "Core/Task.h"

namespace quillant {

/// The camera's own file of a session. Its file exists from construction on.
class FacecamCapturing {
 public:
  virtual ~FacecamCapturing() = default;
  virtual void start() = 0;           ///< Takes the camera. Throws an `Error`.
  virtual void stop() = 0;            ///< Gives it back; no frame is written once this has returned.
  virtual Task<void> finish() = 0;    ///< Closes the file, after `stop`. Throws an `Error`.
  virtual MediaTime startTime() = 0;  ///< Of the first frame, on the host clock without pauses; or invalid.
  virtual std::uint64_t frameCount() = 0;
  virtual std::vector<std::string> warnings() = 0;
};

/// The shared camera as a session needs it.
class CameraService {
 public:
  virtual ~CameraService() = default;
  virtual Task<bool> requestAccess() = 0;
  /// Throws `FacecamError` or `WriterError`. `onFailure` may run on any thread.
  virtual std::unique_ptr<FacecamCapturing> makeFacecam(const std::filesystem::path& outputURL,
                                                        std::shared_ptr<PauseClock> pauseClock,
                                                        FailureCallback onFailure) = 0;
};

}  // namespace quillant
