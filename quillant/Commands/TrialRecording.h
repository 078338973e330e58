#pragma once

#include <filesystem>

#include "CaptureEngine/CaptureOptions.h"
#include "CaptureEngine/CaptureServices.h"
#include "CaptureEngine/RecordingArtifacts.h"
#include "Core/PixelBuffer.h"

namespace quillant {

/// A recording of about a second that a check makes and looks at. Its files lie in a folder of their own,
/// which goes with the object.
class TrialRecording {
 public:
  /// Records what `options` ask for; the path is filled in here. Blocking; throws `SelfCheck::Failure`.
  TrialRecording(const CaptureServices& services, CaptureOptions options);
  ~TrialRecording();
  TrialRecording(const TrialRecording&) = delete;
  TrialRecording& operator=(const TrialRecording&) = delete;

  const RecordingArtifacts& artifacts() const { return artifacts_; }
  /// The first picture of the screen's video, BGRA. Throws `SelfCheck::Failure`.
  PixelBufferRef firstPicture() const;

 private:
  const std::filesystem::path folder_;
  RecordingArtifacts artifacts_;
};

}  // namespace quillant
