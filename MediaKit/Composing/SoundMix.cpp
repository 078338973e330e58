#include "MediaKit/Composing/SoundMix.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>

#include "MediaKit/Composing/TimeStretch.h"

namespace quillant {

namespace {

/// Times of one seam, computed two ways, differ by less than this, in seconds.
constexpr double seamTolerance = 1e-6;
constexpr double normalRateTolerance = 1e-6;
/// Mixed at once: small enough for a cache.
constexpr std::size_t blockFrames = 1024;

/// Ranges that follow each other without a seam are one, so that nothing is heard where an edit merely has a
/// boundary.
std::vector<MediaRange> joined(const std::vector<MediaRange>& ranges) {
  std::vector<MediaRange> result;
  for (const auto& range : ranges) {
    if (!result.empty()) {
      auto& last = result.back();
      if (std::abs(last.end - range.start) < seamTolerance &&
          std::abs(last.sourceEnd - range.sourceStart) < seamTolerance &&
          std::abs(last.rate() - range.rate()) < normalRateTolerance) {
        last.end = range.end;
        last.sourceEnd = range.sourceEnd;
        continue;
      }
    }
    result.push_back(range);
  }
  return result;
}

/// Asked for rising times.
class Envelope {
 public:
  explicit Envelope(std::vector<VolumePoint> points) : points_(std::move(points)) {}

  bool isSteady(double from, double to) {
    find(from);
    return next_ == points_.size() || points_[next_].time >= to ? slope() == 0 : false;
  }
  double at(double time) {
    find(time);
    if (points_.empty()) return 1;
    if (next_ == 0) return points_.front().volume;
    const auto& before = points_[next_ - 1];
    return before.volume + (next_ == points_.size() ? 0 : slope() * (time - before.time));
  }
  void restart() { next_ = 0; }

 private:
  void find(double time) {
    while (next_ < points_.size() && points_[next_].time <= time) ++next_;
  }
  double slope() const {
    if (next_ == 0 || next_ == points_.size()) return 0;
    return (points_[next_].volume - points_[next_ - 1].volume) /
           (points_[next_].time - points_[next_ - 1].time);
  }

  std::vector<VolumePoint> points_;
  std::size_t next_ = 0;  ///< The first point behind the time asked for last.
};

/// Plays one track.
class TrackPlayer {
 public:
  TrackPlayer(MediaCompositionTrack track, SoundFormat format)
      : track_(std::move(track)), format_(format), ranges_(joined(track_.ranges)), envelope_(track_.volume) {}

  void restart() {
    envelope_.restart();
    next_ = 0;
    isPlaying_ = false;
    stretch_.reset();
  }

  /// Adds the frames from `first` on to `mix`.
  void addTo(std::span<float> mix, std::int64_t first) {
    const auto channels = static_cast<std::size_t>(format_.channels);
    const auto end = first + static_cast<std::int64_t>(mix.size() / channels);
    for (auto frame = first; frame < end;) {
      while (next_ < ranges_.size() && frameAt(ranges_[next_].end) <= frame) {
        ++next_;
        isPlaying_ = false;
      }
      if (next_ == ranges_.size()) return;
      const auto from = std::max(frame, frameAt(ranges_[next_].start));
      const auto to = std::min(end, frameAt(ranges_[next_].end));
      if (from >= to) return;
      buffer_.resize(static_cast<std::size_t>(to - from) * channels);
      play(from);
      addBuffer(mix.subspan(static_cast<std::size_t>(from - first) * channels), from);
      frame = to;
    }
  }

 private:
  std::int64_t frameAt(double time) const { return std::llround(time * format_.sampleRate); }

  /// Fills the buffer from frame `from` on, which lies in the next range.
  void play(std::int64_t from) {
    const auto& range = ranges_[next_];
    if (!isPlaying_) {
      if (!reader_) reader_.emplace(track_.file, track_.track, format_);
      reader_->seek(frameAt(range.sourceTime(static_cast<double>(from) / format_.sampleRate)));
      stretch_.reset();
      if (std::abs(range.rate() - 1) > normalRateTolerance)
        stretch_.emplace(format_, range.rate(),
                         [this, end = frameAt(range.sourceEnd)](std::span<float> samples) {
                           return readUntil(samples, end);
                         });
      isPlaying_ = true;
    }
    if (stretch_) {
      stretch_->read(buffer_);
      return;
    }
    const auto filled = reader_->read(buffer_) * static_cast<std::size_t>(format_.channels);
    std::fill(buffer_.begin() + static_cast<std::ptrdiff_t>(filled), buffer_.end(), 0.0f);
  }

  std::size_t readUntil(std::span<float> samples, std::int64_t end) {
    const auto channels = static_cast<std::size_t>(format_.channels);
    const auto left = static_cast<std::size_t>(std::max<std::int64_t>(end - reader_->position(), 0));
    return reader_->read(samples.first(std::min(samples.size() / channels, left) * channels));
  }

  void addBuffer(std::span<float> mix, std::int64_t first) {
    const auto channels = static_cast<std::size_t>(format_.channels);
    const auto timeOf = [&](std::size_t frame) {
      return (static_cast<double>(first) + static_cast<double>(frame)) / format_.sampleRate;
    };
    const auto frames = buffer_.size() / channels;
    const bool isSteady = envelope_.isSteady(timeOf(0), timeOf(frames));
    auto volume = static_cast<float>(envelope_.at(timeOf(0)));
    for (std::size_t frame = 0; frame < frames; ++frame) {
      if (!isSteady) volume = static_cast<float>(envelope_.at(timeOf(frame)));
      for (std::size_t i = frame * channels; i < (frame + 1) * channels; ++i) mix[i] += buffer_[i] * volume;
    }
  }

  MediaCompositionTrack track_;
  SoundFormat format_;
  std::vector<MediaRange> ranges_;
  Envelope envelope_;
  std::size_t next_ = 0;    ///< The range that plays, or the one that plays next.
  bool isPlaying_ = false;  ///< The reader stands where the next range goes on.
  std::optional<SoundReader> reader_;
  std::optional<TimeStretch> stretch_;
  std::vector<float> buffer_;
};

}  // namespace

struct SoundMix::Implementation {
  SoundFormat format;
  std::int64_t frameCount = 0;
  std::vector<std::unique_ptr<TrackPlayer>> players;
  std::int64_t position = 0;
};

SoundMix::SoundMix(std::vector<MediaCompositionTrack> tracks, double duration, SoundFormat format)
    : implementation_(std::make_unique<Implementation>()) {
  implementation_->format = format;
  implementation_->frameCount = std::llround(std::max(duration, 0.0) * format.sampleRate);
  for (auto& track : tracks)
    implementation_->players.push_back(std::make_unique<TrackPlayer>(std::move(track), format));
}
SoundMix::~SoundMix() = default;
SoundMix::SoundMix(SoundMix&&) noexcept = default;
SoundMix& SoundMix::operator=(SoundMix&&) noexcept = default;

std::int64_t SoundMix::frameCount() const {
  return implementation_->frameCount;
}
std::int64_t SoundMix::position() const {
  return implementation_->position;
}

void SoundMix::seek(std::int64_t frame) {
  if (frame == implementation_->position) return;
  implementation_->position = frame;
  for (auto& player : implementation_->players) player->restart();
}

std::size_t SoundMix::read(std::span<float> samples) {
  auto& self = *implementation_;
  const auto channels = static_cast<std::size_t>(self.format.channels);
  const auto left = static_cast<std::size_t>(std::max<std::int64_t>(self.frameCount - self.position, 0));
  samples = samples.first(std::min(samples.size() / channels, left) * channels);
  std::ranges::fill(samples, 0.0f);
  for (std::size_t done = 0; done < samples.size(); done += blockFrames * channels) {
    const auto block = samples.subspan(done, std::min(blockFrames * channels, samples.size() - done));
    for (auto& player : self.players) player->addTo(block, self.position);
    self.position += static_cast<std::int64_t>(block.size() / channels);
  }
  return samples.size() / channels;
}

}  // namespace quillant
