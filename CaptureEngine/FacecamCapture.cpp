#include "CaptureEngine/FacecamCapture.h"

#include <utility>

#include "Core/HostClock.h"

namespace quillant {

namespace {

constexpr int frameRate = 30;

}  // namespace

FacecamCapture::FacecamCapture(std::filesystem::path outputURL, CameraSessionBroker& broker,
                               std::shared_ptr<PauseClock> pauseClock, FailureCallback onFailure)
    : broker_(broker), onFailure_(std::move(onFailure)), format_(broker_.recordingFormat()) {
  try {
    writer_ = std::make_unique<FragmentedMP4Writer>(
        FragmentedMP4Writer::Configuration{
            .outputURL = std::move(outputURL),
            .container = MediaContainer::quickTime,
            .video = {.width = format_.width, .height = format_.height, .expectedFrameRate = frameRate},
            .pauseClock = std::move(pauseClock),
            .now = [this] { return stopTime_.isValid() ? stopTime_ : HostClock::now(); },
            .onFailure = onFailure_},
        queue_);
  } catch (...) {
    broker_.abandonRecording();
    throw;
  }
}

FacecamCapture::~FacecamCapture() {
  stop();
  broker_.abandonRecording();
}

void FacecamCapture::start() {
  // A camera that runs already may deliver now what it took before: a preview's frame, no recording's.
  const auto begin = HostClock::now();
  token_ = broker_.acquireRecorder([this, begin](PixelBufferRef pixelBuffer, MediaTime time) {
    if (time < begin) return;
    queue_.async([this, pixelBuffer = std::move(pixelBuffer), time]() mutable {
      receive(std::move(pixelBuffer), time);
    });
  });
}

void FacecamCapture::receive(PixelBufferRef pixelBuffer, MediaTime time) {
  if (CameraFormat{pixelBuffer->width, pixelBuffer->height} != format_) {
    hasChangedSize_ = true;
    return;
  }
  try {
    writer_->append(std::move(pixelBuffer), time);
  } catch (...) {
    onFailure_(std::current_exception());
  }
}

void FacecamCapture::stop() {
  if (!token_) return;
  wasLost_ = broker_.isLost();
  broker_.release(std::exchange(token_, nullptr));
  // Behind what was delivered before. The last picture stands until now, however late the file is closed.
  queue_.sync([this] { stopTime_ = HostClock::now(); });
}

Task<void> FacecamCapture::finish() {
  return writer_->finish();
}

MediaTime FacecamCapture::startTime() {
  return writer_->sessionStartTime();
}

std::uint64_t FacecamCapture::frameCount() {
  return writer_->counters().framesAppended;
}

std::vector<std::string> FacecamCapture::warnings() {
  auto warnings = writer_->warnings();
  if (wasLost_)
    warnings.emplace_back("facecam stopped during the recording — the camera went away");
  else if (hasChangedSize_)
    warnings.emplace_back("facecam stopped during the recording — the camera's picture changed its size");
  return warnings;
}

}  // namespace quillant
