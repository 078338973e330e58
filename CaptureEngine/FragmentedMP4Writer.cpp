#include "CaptureEngine/FragmentedMP4Writer.h"

#include <cassert>
#include <chrono>
#include <utility>

#include "Core/QueueTask.h"

namespace quillant {

namespace {

constexpr MediaTime fragmentInterval{900, 600};
/// A picture that is older than this counts as standing still.
constexpr MediaTime stillAfter{9, 10};
constexpr std::chrono::seconds heartbeatInterval{1};

constexpr AudioInputSettings microphoneSettings{.channels = 1, .bitRate = 96'000};
constexpr AudioInputSettings systemAudioSettings{.channels = 2, .bitRate = 160'000};

}  // namespace

FragmentedMP4Writer::WriterError::WriterError(std::exception_ptr underlying)
    : Error("asset writer failed: " + (underlying ? describe(underlying) : "unknown error")),
      underlying_(std::move(underlying)) {}

FragmentedMP4Writer::FragmentedMP4Writer(Configuration configuration, SerialQueue& queue)
    : configuration_(std::move(configuration)),
      queue_(queue),
      writer_(configuration_.outputURL, configuration_.container, fragmentInterval),
      videoInput_(writer_.addVideo(configuration_.video)) {
  if (configuration_.microphone) micInput_ = writer_.addAudio(microphoneSettings);
  if (configuration_.systemAudio) systemAudioInput_ = writer_.addAudio(systemAudioSettings);
  if (!writer_.startWriting()) throw WriterError(writer_.error());
  if (configuration_.pauseClock)
    resumed_ = configuration_.pauseClock->resumed().connect([this](const MediaTime& hostTime) {
      attempt([&] { queue_.async([this, hostTime] { attempt([&] { repeatIfStill(hostTime); }); }); });
    });
}

/// What `work` throws ends the session, and not the process that would still have to close the file.
template <class Work>
void FragmentedMP4Writer::attempt(Work&& work) noexcept try {
  try {
    work();
  } catch (...) {
    if (configuration_.onFailure) configuration_.onFailure(std::current_exception());
  }
} catch (...) {  // there is no memory to tell it; what still fails a second later is told then
}

FragmentedMP4Writer::~FragmentedMP4Writer() {
  resumed_.disconnect();
  // A repeat that is already queued must find the writer alive.
  queue_.sync([this] { heartbeat_.reset(); });
}

std::optional<MediaTime> FragmentedMP4Writer::adjust(MediaTime time) const {
  return configuration_.pauseClock ? configuration_.pauseClock->adjust(time) : time;
}

void FragmentedMP4Writer::append(PixelBufferRef pixelBuffer, MediaTime time) {
  assert(queue_.isCurrent());
  if (finished_) return;
  const auto adjusted = adjust(time);
  if (!adjusted) return;  // what was shown during a pause is not for the file, neither now nor later
  if (writer_.status() == AssetWriter::Status::failed) throw WriterError(writer_.error());
  isBehind_ = !isInOrder(*adjusted) || !appendNow(pixelBuffer, *adjusted);
  // Dropped or not, it is what the screen shows until it changes again, so it is the one to repeat.
  lastPixelBuffer_ = std::move(pixelBuffer);
  // If a repeat was stamped while the picture was fetched, it shows now and not a beat later.
  if (isBehind_) repeatIfStill(configuration_.now());
}

bool FragmentedMP4Writer::isInOrder(MediaTime adjusted) const {
  return !lastAppendTime_.isValid() || adjusted > lastAppendTime_;
}

void FragmentedMP4Writer::startSession(MediaTime adjusted) {
  writer_.startSession(adjusted);
  sessionStartTime_ = adjusted;
  heartbeat_ = std::make_unique<QueueTimer>(queue_, heartbeatInterval, heartbeatInterval, [this] {
    attempt([this] { repeatIfStill(configuration_.now()); });
  });
}

bool FragmentedMP4Writer::appendNow(const PixelBufferRef& pixelBuffer, MediaTime adjusted) {
  if (!sessionStartTime_.isValid()) startSession(adjusted);
  if (!writer_.append(videoInput_, pixelBuffer, adjusted)) return false;
  lastAppendTime_ = adjusted;
  return true;
}

void FragmentedMP4Writer::repeat(const PixelBufferRef& pixelBuffer, MediaTime adjusted) {
  // A repeat for which the queue has no space is skipped and does not count as a dropped frame.
  if (writer_.isReady(videoInput_)) isBehind_ = !appendNow(pixelBuffer, adjusted);
}

void FragmentedMP4Writer::repeatIfStill(MediaTime hostTime) {
  assert(queue_.isCurrent());
  if (finished_ || !lastPixelBuffer_) return;
  if (writer_.status() == AssetWriter::Status::failed) {
    // A still screen appends nothing by which the failure would be noticed.
    if (configuration_.onFailure)
      configuration_.onFailure(std::make_exception_ptr(WriterError(writer_.error())));
    return;
  }
  const auto adjusted = adjust(hostTime);
  if (!adjusted || !isInOrder(*adjusted)) return;
  if (isBehind_ || *adjusted - lastAppendTime_ > stillAfter) repeat(lastPixelBuffer_, *adjusted);
}

void FragmentedMP4Writer::appendAudio(AudioBuffer buffer, SoundTrack track) {
  attempt([&] {
    queue_.async([this, buffer = std::move(buffer), track]() mutable {
      attempt([&] { appendAudioNow(std::move(buffer), track); });
    });
  });
}

void FragmentedMP4Writer::appendAudioNow(AudioBuffer buffer, SoundTrack track) {
  const auto input = track == SoundTrack::microphone ? micInput_ : systemAudioInput_;
  if (!input || finished_ || !sessionStartTime_.isValid()) return;
  const auto adjusted = adjust(buffer.time);
  if (!adjusted) return;
  buffer.time = *adjusted;
  writer_.append(*input, std::move(buffer));
}

MediaTime FragmentedMP4Writer::sessionStartTime() {
  return queue_.sync([this] { return sessionStartTime_; });
}

Task<void> FragmentedMP4Writer::finish() {
  return runOn(queue_, finishOnQueue());
}

Task<void> FragmentedMP4Writer::finishOnQueue() {
  if (finished_) co_return;
  finished_ = true;
  heartbeat_.reset();
  try {
    appendFinalFrame();
  } catch (...) {  // the file is a little shorter, and closed all the same
  }
  writer_.markAsFinished(videoInput_);
  if (micInput_) writer_.markAsFinished(*micInput_);
  if (systemAudioInput_) writer_.markAsFinished(*systemAudioInput_);
  co_await writer_.finishWriting();
  if (writer_.status() == AssetWriter::Status::failed) throw WriterError(writer_.error());
}

void FragmentedMP4Writer::appendFinalFrame() {
  // The file reaches to the moment of the stop, not to that of the last change on screen.
  const auto lastPicture = std::exchange(lastPixelBuffer_, nullptr);
  const auto adjusted = adjust(configuration_.now());
  if (lastPicture && adjusted && isInOrder(*adjusted)) repeat(lastPicture, *adjusted);
}

}  // namespace quillant
