#include "MediaKit/Writing/WriterPipeline.h"

#include <algorithm>
#include <utility>

namespace quillant {

namespace {

using namespace std::chrono_literals;

/// The first fragment closes soon, so that a recording killed in its first second leaves something.
constexpr auto firstFragment = 200ms;
/// The longest stretch of a slowly changing screen that a kill may cost.
constexpr auto longestLoss = 2s;
/// Sound that is later than this is taken as missing and replaced by silence.
constexpr MediaTime latestSound{2, 1};

constexpr std::int64_t keyFrameInterval = 4 * H264Encoder::timescale;
/// Without a change keyframes serve only seeking in a long still stretch.
constexpr std::int64_t stillKeyFrameInterval = 60 * H264Encoder::timescale;

}  // namespace

WriterPipeline::VideoTrack::VideoTrack(const VideoInputSettings& settings)
    : encoder(settings),
      quantizer(settings.width * settings.height),
      frameTicks(H264Encoder::timescale / std::max(1, settings.expectedFrameRate)) {}

WriterPipeline::WriterPipeline(const Settings& settings, SerialQueue& queue,
                               std::function<void(std::exception_ptr)> onFailure)
    : muxer_(settings.container),
      file_(settings.path, openMuxer(settings)),
      timer_(queue.executor()),
      interval_(settings.fragmentInterval),
      onFailure_(std::move(onFailure)) {}

WriterPipeline::~WriterPipeline() = default;

FragmentMuxer::Head WriterPipeline::openMuxer(const Settings& settings) {
  for (const auto& input : settings.video)
    muxer_.addVideo(input, video_.emplace_back(input).encoder.configuration());
  for (const auto& input : settings.audio) muxer_.addAudio(input, audio_.emplace_back(input).configuration());
  return muxer_.open();
}

void WriterPipeline::encode(std::size_t video, const EncoderPicture& picture, std::int64_t time,
                            Clock::time_point arrived) {
  auto& track = video_[video];
  const auto sinceKey = time - track.lastKeyTime;
  const bool isFirst = track.lastTime < 0;
  const bool wantsKey = isFirst || sinceKey >= (picture.changed ? keyFrameInterval : stillKeyFrameInterval);
  const int quantizer = wantsKey ? track.quantizer.key() : track.quantizer.predicted();
  auto packet = track.encoder.encode(
      picture, time, wantsKey ? H264Encoder::Frame::key : H264Encoder::Frame::predicted, quantizer);
  if (packet.isKeyFrame)
    track.lastKeyTime = time;
  else
    track.quantizer.account(packet.data.size(), quantizer);
  if (track.held) writeHeld(video, time - track.held->time);
  track.held = std::move(packet);
  track.lastTime = time;
  track.lastArrival = arrived;
  noteMedia();
  closeFragmentIfDue();
}

void WriterPipeline::encode(std::size_t audio, const AudioBuffer& buffer) {
  audio_[audio].append(buffer);
  writeSound(audio);
  closeFragmentIfDue();
}

void WriterPipeline::writeHeld(std::size_t track, std::int64_t duration) {
  auto& held = video_[track].held;
  held->duration = duration;
  muxer_.write(track, *held);
  held.reset();
  lastPictureWritten_ = video_[track].lastArrival;
}

void WriterPipeline::writeSound(std::size_t audio) {
  for (const auto& packet : audio_[audio].takePackets()) {
    muxer_.write(video_.size() + audio, packet);
    noteMedia();
  }
}

void WriterPipeline::noteMedia() {
  if (std::exchange(mediaWaits_, true)) return;
  mediaSince_ = Clock::now();
  armTimer();
}

WriterPipeline::Clock::time_point WriterPipeline::fragmentDue() const {
  if (fragmentsClosed_ == 0) return mediaSince_ + firstFragment;
  return std::min(lastClose_ + interval_, lastPictureWritten_ + longestLoss);
}

void WriterPipeline::closeFragmentIfDue() {
  const auto now = Clock::now();
  if (!mediaWaits_ || now < fragmentDue()) return;
  releaseStalePictures(now);
  for (std::size_t i = 0; i < audio_.size() && !video_.empty(); ++i) {
    audio_[i].fill(MediaTime{video_.front().lastTime, H264Encoder::timescale} - latestSound);
    writeSound(i);
  }
  closeFragment();
}

/// A picture that has stood for a while goes into the fragment without waiting for the next. How long it will
/// stand is not known (after a pause the next may be stamped a moment later), so it is said to last one tick;
/// the next fragment states its own start, and the closing index gives the true duration.
void WriterPipeline::releaseStalePictures(Clock::time_point now) {
  for (std::size_t i = 0; i < video_.size(); ++i) {
    const auto& track = video_[i];
    const std::chrono::duration<double> frame(double(track.frameTicks) / H264Encoder::timescale);
    if (track.held && now - track.lastArrival > 2 * frame) writeHeld(i, 1);
  }
}

void WriterPipeline::closeFragment() {
  auto boxes = muxer_.closeFragment();
  lastClose_ = Clock::now();
  mediaWaits_ = std::ranges::any_of(video_, [](const auto& track) { return track.held.has_value(); });
  if (boxes.empty()) return;
  file_.append(std::move(boxes));
  ++fragmentsClosed_;
}

void WriterPipeline::armTimer() {
  if (std::exchange(timerIsArmed_, true)) return;
  timer_.expires_at(std::max(fragmentDue(), Clock::now() + 10ms));
  timer_.async_wait([this, alive = std::weak_ptr<void>(alive_)](std::error_code error) {
    // A wait that has expired can no longer be cancelled: its handler may be queued behind the pipeline's
    // destruction.
    if (error || alive.expired()) return;
    timerIsArmed_ = false;
    try {
      closeFragmentIfDue();
      if (mediaWaits_) armTimer();
    } catch (...) {
      onFailure_(std::current_exception());
    }
  });
}

void WriterPipeline::finish() {
  timer_.cancel();
  std::exception_ptr problem;
  const auto attempt = [&](auto&& step) {
    try {
      step();
    } catch (...) {
      if (!problem) problem = std::current_exception();
    }
  };
  for (std::size_t i = 0; i < video_.size(); ++i)
    if (video_[i].held) attempt([&] { writeHeld(i, video_[i].frameTicks); });
  for (std::size_t i = 0; i < audio_.size(); ++i)
    attempt([&] {
      audio_[i].finish();
      writeSound(i);
    });
  attempt([&] { closeFragment(); });
  file_.close();
  if (problem) std::rethrow_exception(problem);
}

}  // namespace quillant
