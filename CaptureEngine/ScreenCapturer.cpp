#include "CaptureEngine/ScreenCapturer.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <iterator>
#include <utility>

#include "CaptureEngine/CaptureError.h"
#include "CaptureEngine/FacecamError.h"
#include "CaptureEngine/MicError.h"
#include "CaptureEngine/RecordingFiles.h"
#include "CaptureEngine/RecordingMarker.h"
#include "CaptureEngine/RecoveryService.h"
#include "CaptureEngine/SystemAudioError.h"
#include "CaptureEngine/Telemetry/CursorTelemetryCodec.h"
#include "Core/AtomicFile.h"
#include "Core/HostClock.h"
#include "MediaKit/Reading/AssetProbe.h"

namespace quillant {

namespace {

/// A microphone that never gets louder than this, about -50 dBFS, is taken for muted.
constexpr float quietestPeak = 0.0032F;

void refuseToOverwrite(const std::filesystem::path& target) {
  std::error_code ignored;
  // A link that leads nowhere is in the way as well.
  if (std::filesystem::exists(std::filesystem::symlink_status(target, ignored)))
    throw CaptureError(CaptureError::OutputExists{target});
}

void refuseToOverwrite(const CaptureOptions& options) {
  std::vector<std::filesystem::path> targets{options.outputURL};
  if (options.facecam) targets.push_back(RecordingFiles::facecam(options.outputURL));
  if (options.telemetry) targets.push_back(RecordingFiles::cursorTelemetry(options.outputURL));
  for (const auto& target : targets) refuseToOverwrite(target);
}

/// Videos whose names differ only in what follows the dot have one marker and one track.
void refuseToShareAMarker(const CaptureOptions& options) {
  const auto path = RecordingFiles::marker(options.outputURL);
  std::optional<RecordingMarker> marker;
  try {
    marker = RecordingMarker::read(path);
  } catch (const Error&) {  // there is none, or one that names nobody
    return;
  }
  if (marker->isOfAnotherRunningProcess()) throw CaptureError(CaptureError::NameInUse{path, marker->pid});
}

Task<void> requestMicrophone(SoundService* sound) {
  if (!sound) throw MicError(MicError::Kind::noMicrophone);
  const bool isAllowed = co_await sound->requestMicrophoneAccess();
  if (!isAllowed) throw MicError(MicError::Kind::permissionDenied);
}

Task<void> requestCamera(CameraService* camera) {
  if (!camera) throw FacecamError(FacecamError::Kind::noCamera);
  const bool isAllowed = co_await camera->requestAccess();
  if (!isAllowed) throw FacecamError(FacecamError::Kind::permissionDenied);
}

Task<std::unique_ptr<ScreenSession>> openScreen(ScreenService& screen, const CaptureOptions& options) {
  try {
    co_return co_await screen.openSession(options);
  } catch (const ScreenError& error) {
    if (error.kind() != ScreenError::Kind::unavailable) throw;
    throw CaptureError(CaptureError::PermissionDenied{error.description()});
  }
}

bool carriesSound(const std::filesystem::path& video) {
  try {
    return !AssetProbe::probe(video).tracksOfKind(MediaTrack::Kind::audio).empty();
  } catch (const Error&) {
    return false;
  }
}

void append(std::vector<std::string> more, std::vector<std::string>& warnings) {
  std::ranges::move(more, std::back_inserter(warnings));
}

void warn(std::vector<std::string>& warnings, const char* step, const std::exception_ptr& error) noexcept {
  try {
    warnings.push_back(fmt::format("{} failed: {}", step, describe(error)));
  } catch (...) {  // there is no memory left for the words
  }
}

/// A step of the end. Whatever it throws is a warning, and the steps after it are taken all the same.
template <class Work>
void attempt(std::vector<std::string>& warnings, const char* step, Work&& work) noexcept {
  try {
    work();
  } catch (...) {
    warn(warnings, step, std::current_exception());
  }
}

}  // namespace

Task<std::unique_ptr<ScreenCapturer>> ScreenCapturer::make(CaptureServices services, CaptureOptions options,
                                                           FailureCallback onFailure) {
  // A strand of its own: what the services and the disk take their time for holds nobody else up.
  return runOn(makeStrand(), makeChecked(services, std::move(options), std::move(onFailure)));
}

Task<std::unique_ptr<ScreenCapturer>> ScreenCapturer::makeChecked(CaptureServices services,
                                                                  CaptureOptions options,
                                                                  FailureCallback onFailure) {
  refuseToOverwrite(options);
  refuseToShareAMarker(options);
  if (options.mic) co_await requestMicrophone(services.sound);
  if (options.systemAudio && !services.sound) throw SystemAudioError("there is no sound server");
  if (options.facecam) co_await requestCamera(services.camera);
  auto session = co_await openScreen(*services.screen, options);
  std::unique_ptr<ScreenCapturer> capturer(
      new ScreenCapturer(services, std::move(options), std::move(session), std::move(onFailure)));
  capturer->createFilesAndSources();
  co_return capturer;
}

ScreenCapturer::ScreenCapturer(CaptureServices services, CaptureOptions options,
                               std::unique_ptr<ScreenSession> session, FailureCallback onFailure)
    : services_(services),
      options_(std::move(options)),
      onFailure_(std::move(onFailure)),
      session_(std::move(session)) {}

void ScreenCapturer::createFilesAndSources() {
  if (options_.mic) micMeter_.emplace();
  makeWriter();
  makeStream();
  makeSound();
  makeFacecam();
  makeTelemetryRecorder();
  // Last, once every file exists; nothing records without it.
  RecordingMarker::write(options_.outputURL);
}

void ScreenCapturer::makeWriter() {
  writer_ = std::make_unique<FragmentedMP4Writer>(
      FragmentedMP4Writer::Configuration{
          .outputURL = options_.outputURL,
          .container = MediaContainer::mp4,
          .video = {.width = session_->source().width,
                    .height = session_->source().height,
                    .expectedFrameRate = options_.effectiveFrameRate(),
                    .color = ColorTagging::p3D65Rec709},
          .microphone = options_.mic,
          .systemAudio = options_.systemAudio,
          .pauseClock = pauseClock_,
          .now = HostClock::now,
          .onFailure = [this](std::exception_ptr error) { reportFailure(std::move(error)); }},
      sampleQueue_);
}

void ScreenCapturer::makeStream() {
  control_ = session_->makeStream(
      {.width = session_->source().width,
       .height = session_->source().height,
       .minimumFrameInterval = options_.minimumFrameInterval()},
      sampleQueue_,
      {.onFrame = [this](PixelBufferRef pixelBuffer,
                         MediaTime time) { receiveFrame(std::move(pixelBuffer), time); },
       .onStopped = [this](std::exception_ptr error) { reportFailure(std::move(error)); }});
  // The recording goes on with what the screen shows then; what it showed during the pause is dropped.
  resumed_ = pauseClock_->resumed().connect([this](const MediaTime&) { control_->refresh(); });
}

void ScreenCapturer::makeSound() {
  if (options_.systemAudio)
    systemAudio_ = services_.sound->makeSystemAudio([this](AudioBuffer buffer) {
      writer_->appendAudio(std::move(buffer), FragmentedMP4Writer::SoundTrack::systemAudio);
    });
  if (options_.mic)
    micCapture_ = services_.sound->makeMicrophone(
        options_.micDeviceID, [this](AudioBuffer buffer) { receiveMicrophone(std::move(buffer)); });
}

void ScreenCapturer::makeFacecam() {
  if (!options_.facecam) return;
  facecamCapture_ =
      services_.camera->makeFacecam(RecordingFiles::facecam(options_.outputURL), pauseClock_,
                                    [this](std::exception_ptr error) { reportFailure(std::move(error)); });
}

void ScreenCapturer::makeTelemetryRecorder() {
  if (!options_.telemetry) return;
  const Size size = session_->source().points;
  telemetryRecorder_ = std::make_unique<CursorTelemetryRecorder>(
      CursorTelemetryRecorder::Configuration{.region = {0, 0, size.width, size.height},
                                             .source = [this] { return session_->pointer(); },
                                             .pauseClock = pauseClock_},
      session_->clickEvents());
}

Task<void> ScreenCapturer::start() {
  return runOn(makeStrand(), startSources());
}

Task<void> ScreenCapturer::startSources() {
  co_await control_->startCapture();
  if (systemAudio_) systemAudio_->start();
  if (micCapture_) micCapture_->start();
  if (facecamCapture_) facecamCapture_->start();
  if (telemetryRecorder_) telemetryRecorder_->start();
}

void ScreenCapturer::receiveFrame(PixelBufferRef pixelBuffer, MediaTime time) {
  try {
    writer_->append(std::move(pixelBuffer), time);
  } catch (...) {
    fail(std::current_exception());
  }
}

void ScreenCapturer::receiveMicrophone(AudioBuffer buffer) {
  micMeter_->add(buffer);
  writer_->appendAudio(std::move(buffer), FragmentedMP4Writer::SoundTrack::microphone);
}

void ScreenCapturer::reportFailure(std::exception_ptr error) noexcept try {
  sampleQueue_.async([this, error = std::move(error)] { fail(error); });
} catch (...) {  // as below
}

void ScreenCapturer::fail(const std::exception_ptr& error) noexcept try {
  if (failed_) return;
  onFailure_(error);
  failed_ = true;
} catch (...) {  // there is no memory to tell it: the next failure does
}

Task<SessionCapturing::Finalized> ScreenCapturer::stopAndFinalize() {
  return runOn(makeStrand(), finalize());
}

Task<SessionCapturing::Finalized> ScreenCapturer::finalize() {
  Finalized finalized;
  auto& artifacts = finalized.artifacts;
  auto& warnings = artifacts.warnings;
  attempt(warnings, "video path", [&] { artifacts.screenVideo = options_.outputURL; });
  if (telemetryRecorder_) attempt(warnings, "cursor telemetry stop", [&] { telemetryRecorder_->stop(); });
  if (micCapture_) attempt(warnings, "microphone stop", [&] { micCapture_->stop(); });
  if (facecamCapture_) attempt(warnings, "facecam stop", [&] { facecamCapture_->stop(); });
  try {
    co_await control_->stopCapture();
  } catch (...) {
    finalized.stopError = std::current_exception();
  }
  if (systemAudio_) attempt(warnings, "system audio stop", [&] { systemAudio_->stop(); });
  try {
    co_await writer_->finish();
  } catch (...) {
    if (!finalized.stopError) finalized.stopError = std::current_exception();
  }
  attempt(warnings, "video check", [&] { append(writer_->warnings(), warnings); });

  try {
    if (facecamCapture_) co_await finishFacecam(artifacts);
  } catch (...) {
    warn(warnings, "facecam finalize", std::current_exception());
  }
  if (telemetryRecorder_) attempt(warnings, "cursor telemetry write", [&] { writeTelemetry(artifacts); });
  if (micCapture_) attempt(warnings, "microphone check", [&] { append(micCapture_->warnings(), warnings); });
  if (systemAudio_)
    attempt(warnings, "system audio check", [&] { append(systemAudio_->warnings(), warnings); });
  if (options_.mic) attempt(warnings, "microphone check", [&] { checkMicrophone(warnings); });
  attempt(warnings, "marker removal", [&] { RecoveryService::removeMarker(options_.outputURL); });
  co_return finalized;
}

Task<void> ScreenCapturer::finishFacecam(RecordingArtifacts& artifacts) {
  co_await facecamCapture_->finish();
  append(facecamCapture_->warnings(), artifacts.warnings);
  if (facecamCapture_->frameCount() == 0) {
    artifacts.warnings.emplace_back("facecam produced no frames — camera stream never delivered");
    co_return;
  }
  const auto offset = facecamCapture_->startTime() - writer_->sessionStartTime();
  if (offset.isValid()) artifacts.facecamOffsetMs = offset.converted(1000).value;
  artifacts.facecam = RecordingFiles::facecam(options_.outputURL);
}

void ScreenCapturer::writeTelemetry(RecordingArtifacts& artifacts) {
  const auto videoStart = writer_->sessionStartTime();
  if (!videoStart.isValid()) {
    artifacts.warnings.emplace_back("no video frames captured — cursor telemetry not written");
    return;
  }
  const auto path = RecordingFiles::cursorTelemetry(options_.outputURL);
  refuseToOverwrite(path);  // it was not there at the start
  AtomicFile::write(path, CursorTelemetryCodec::encode(telemetryRecorder_->payload(videoStart)));
  artifacts.cursorTelemetry = path;
  artifacts.clickDiagnostics = telemetryRecorder_->clickDiagnostics();
}

void ScreenCapturer::checkMicrophone(std::vector<std::string>& warnings) const {
  const auto level = micMeter_->reading();
  if (level.bufferCount == 0)
    warnings.emplace_back("microphone produced no audio — check input device");
  else if (level.peak < quietestPeak)
    warnings.push_back(fmt::format("no microphone signal detected (peak {:.1f} dBFS) — mic may be muted",
                                   20 * std::log10(static_cast<double>(level.peak))));
  if (!carriesSound(options_.outputURL))
    warnings.emplace_back("microphone was enabled but the recording carries no audio track");
}

}  // namespace quillant
