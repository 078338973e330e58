#pragma once

#include <filesystem>
#include <memory>
#include <optional>

#include "CaptureEngine/AudioLevelMeter.h"
#include "CaptureEngine/CaptureOptions.h"
#include "CaptureEngine/CaptureServices.h"
#include "CaptureEngine/CursorTelemetryRecorder.h"
#include "CaptureEngine/FragmentedMP4Writer.h"
#include "CaptureEngine/SessionCapturing.h"
#include "Core/SerialQueue.h"
#include "Core/Signal.h"
#include "Core/Task.h"

namespace quillant {

/// One session: checks the target, creates the files, wires every source to its own, and at the end stops and
/// closes all of it in a fixed order. That order is what a crash leaves behind, and what recovery relies on.
///
/// Pictures and failures arrive on the queue "quillant.capture.video", which is the writer's too; sound and
/// the camera on threads of their own. The sources call straight into the capturer, which owns them: each
/// is silent once it is stopped or destroyed.
class ScreenCapturer : public SessionCapturing {
 public:
  /// Throws `CaptureError`, `ScreenError`, `MicError`, `FacecamError`, `SystemAudioError`,
  /// `FragmentedMP4Writer::WriterError` or `FileError`; what was created until then stays. `onFailure` runs
  /// on the capture queue.
  static Task<std::unique_ptr<ScreenCapturer>> make(CaptureServices services, CaptureOptions options,
                                                    FailureCallback onFailure);

  Task<void> start() override;
  Task<Finalized> stopAndFinalize() override;
  PauseClock& pauseClock() override { return *pauseClock_; }
  const std::filesystem::path& outputURL() const override { return options_.outputURL; }

  AssetWriterCounters counters() const { return writer_->counters(); }

 private:
  ScreenCapturer(CaptureServices services, CaptureOptions options, std::unique_ptr<ScreenSession> session,
                 FailureCallback onFailure);

  static Task<std::unique_ptr<ScreenCapturer>> makeChecked(CaptureServices services, CaptureOptions options,
                                                           FailureCallback onFailure);
  void createFilesAndSources();
  void makeWriter();
  void makeStream();
  void makeSound();
  void makeFacecam();
  void makeTelemetryRecorder();

  void receiveFrame(PixelBufferRef pixelBuffer, MediaTime time);
  void receiveMicrophone(AudioBuffer buffer);
  void reportFailure(std::exception_ptr error) noexcept;
  void fail(const std::exception_ptr& error) noexcept;  // on the sample queue

  Task<void> startSources();
  Task<Finalized> finalize();
  Task<void> finishFacecam(RecordingArtifacts& artifacts);
  void writeTelemetry(RecordingArtifacts& artifacts);
  void checkMicrophone(std::vector<std::string>& warnings) const;

  const CaptureServices services_;
  const CaptureOptions options_;
  const FailureCallback onFailure_;
  const std::shared_ptr<PauseClock> pauseClock_ = std::make_shared<PauseClock>();
  std::optional<AudioLevelMeter> micMeter_;
  bool failed_ = false;  // on the sample queue

  // Destroyed from the last to the first: the sources before what they feed.
  SerialQueue sampleQueue_{"quillant.capture.video"};
  std::unique_ptr<FragmentedMP4Writer> writer_;
  std::unique_ptr<ScreenSession> session_;
  std::unique_ptr<StreamControlling> control_;
  Connection resumed_;
  std::unique_ptr<SoundStream> systemAudio_;
  std::unique_ptr<SoundStream> micCapture_;
  std::unique_ptr<FacecamCapturing> facecamCapture_;
  std::unique_ptr<CursorTelemetryRecorder> telemetryRecorder_;
};

}  // namespace quillant
