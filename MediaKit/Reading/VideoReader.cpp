#include "MediaKit/Reading/VideoReader.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include "MediaKit/Reading/DecodedPicture.h"
#include "MediaKit/Reading/MediaInput.h"

namespace quillant {

namespace {

using FFmpeg::check;

/// How much further back a seek begins whose keyframe turned out to be shown later than the time sought.
constexpr double seekStep = 1;
/// A frame that ends this many of its durations before the one wanted need not be decoded.
constexpr int passedDurations = 4;

std::atomic<std::uint64_t> lastSource = 0;

AVStream& videoStream(MediaInput& input, int track) {
  auto* stream = input.choose(MediaTrack::Kind::video, track);
  if (!stream) throw MediaError(MediaError::Kind::noVideoTrack, "the file has no video track");
  return *stream;
}

}  // namespace

struct VideoReader::Implementation {
  Implementation(const std::filesystem::path& path, int track, VideoReaderOptions wanted)
      : options(wanted),
        input(path),
        stream(videoStream(input, track)),
        decoder(MediaInput::openDecoder(stream, wanted.threads)),
        zero(input.zero(stream)),
        description(input.describe(stream)) {}

  struct Decoded {
    FFmpeg::Frame frame;
    std::int64_t start = 0;  ///< Ticks, as the stream counts them.
  };

  std::int64_t ticks(double time) const {
    // Ticks of milliseconds are coarser than the times of frames: what is off by half of one is on it.
    const double tick = av_q2d(stream.time_base);
    return zero + static_cast<std::int64_t>(std::floor((time + std::min(tick / 2, 0.0005)) / tick + 1e-6));
  }
  double time(std::int64_t at) const { return static_cast<double>(at - zero) * av_q2d(stream.time_base); }

  bool isAhead(std::int64_t wanted) const;
  void seek(std::int64_t at);
  bool decode(Decoded& decoded, std::int64_t wanted);
  void find(std::int64_t wanted, std::int64_t earliest);
  VideoFrame handOut();
  PixelBufferRef pictureAfter(const PixelBufferRef& before) const;

  VideoReaderOptions options;
  std::uint64_t source = ++lastSource;
  MediaInput input;
  AVStream& stream;
  FFmpeg::CodecContext decoder;
  std::int64_t zero;
  MediaTrack description;
  FFmpeg::Packet packet{check(av_packet_alloc())};
  std::optional<Decoded> shown;   ///< The last frame found.
  std::optional<Decoded> coming;  ///< The one after it.
  bool isAtEnd = false;           ///< Nothing comes after `coming`.
  std::int64_t end = 0;           ///< Ticks: where the furthest packet read ends.
  VideoFrame handedOut;
  bool isHandedOut = false;  ///< `handedOut` is of `shown`.
  bool mayPass = true;       ///< Frames that no other needs are not decoded on the way to the one wanted.
  std::int64_t passed = INT64_MIN;  ///< The last one that was not decoded, in ticks.
};

/// Whether decoding on reaches `wanted` sooner than seeking does: no keyframe lies between.
bool VideoReader::Implementation::isAhead(std::int64_t wanted) const {
  if (!shown || wanted < shown->start) return false;
  if (!coming || wanted < coming->start) return true;
  const int entry = av_index_search_timestamp(&stream, wanted, AVSEEK_FLAG_BACKWARD);
  if (entry < 0) return true;
  const auto* found = avformat_index_get_entry(&stream, entry);
  return !found || found->timestamp <= coming->start;
}

void VideoReader::Implementation::seek(std::int64_t at) {
  input.seek(stream, at);
  avcodec_flush_buffers(decoder.get());
  shown.reset();
  coming.reset();
  isHandedOut = false;
  isAtEnd = false;
  passed = INT64_MIN;
}

/// The next frame in the order they are shown; false at the end. Frames that end before `wanted` and that no
/// other needs need not be decoded.
bool VideoReader::Implementation::decode(Decoded& decoded, std::int64_t wanted) {
  if (!decoded.frame) decoded.frame.reset(check(av_frame_alloc()));
  for (;;) {
    const int code = avcodec_receive_frame(decoder.get(), decoded.frame.get());
    if (code == 0) {
      const auto& frame = *decoded.frame;
      decoded.start = frame.best_effort_timestamp == AV_NOPTS_VALUE ? zero : frame.best_effort_timestamp;
      return true;
    }
    if (code == AVERROR_EOF) return false;
    const int read = av_read_frame(&input.context(), packet.get());
    if (read == AVERROR_EOF) {
      avcodec_send_packet(decoder.get(), nullptr);
      continue;
    }
    check(read, "the video could not be read", MediaError::Kind::unreadable);
    if (packet->stream_index == stream.index) {
      if (packet->pts != AV_NOPTS_VALUE) end = std::max(end, packet->pts + packet->duration);
      // How long it is shown only the next one tells; a packet's duration is that of the order of decoding.
      const bool isPassed = mayPass && packet->pts != AV_NOPTS_VALUE && packet->duration > 0 &&
                            packet->pts + passedDurations * packet->duration <= wanted;
      decoder->skip_frame = isPassed ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
      if (isPassed) passed = std::max(passed, packet->pts);
      avcodec_send_packet(decoder.get(), packet.get());
    }
    av_packet_unref(packet.get());
  }
}

/// Makes `shown` the last frame that begins at `wanted` or before it, or any from `earliest` on.
void VideoReader::Implementation::find(std::int64_t wanted, std::int64_t earliest) {
  if (!isAhead(wanted)) {
    double back = 0;
    for (;;) {
      const auto at = wanted - static_cast<std::int64_t>(back / av_q2d(stream.time_base));
      seek(at);
      Decoded first;
      if (!decode(first, earliest)) {
        isAtEnd = true;
      } else {
        shown = std::move(first);
      }
      // A keyframe may be stored before the time sought and shown after it; behind the end nothing may come.
      const bool isFound = shown && shown->start <= wanted;
      if (isFound || at <= zero) break;
      back = back == 0 ? seekStep : back * 2;
    }
  }
  while (shown) {
    if (!coming && !isAtEnd) {
      Decoded next;
      if (decode(next, earliest))
        coming = std::move(next);
      else
        isAtEnd = true;
    }
    const bool isEnough = shown->start <= wanted && shown->start >= earliest;
    if (!coming || coming->start > wanted || isEnough) return;
    shown = std::exchange(coming, std::nullopt);
    isHandedOut = false;
  }
}

/// `shown` as a picture: the one before itself if it looks the same and changes are looked for.
PixelBufferRef VideoReader::Implementation::pictureAfter(const PixelBufferRef& before) const {
  auto picture = DecodedPicture::make(*shown->frame);
  if (!options.findsChanges) return picture;
  picture->source = source;
  picture->sequence = before ? before->sequence + 1 : 1;
  const bool isComparable = before && before->format == picture->format && before->width == picture->width &&
                            before->height == picture->height && before->color == picture->color;
  if (!isComparable) {
    picture->changed = {{0, 0, picture->width, picture->height}};
    return picture;
  }
  picture->changed = DecodedPicture::differences(*before, *picture);
  if (picture->changed.empty()) return before;
  return picture;
}

VideoFrame VideoReader::Implementation::handOut() {
  if (!isHandedOut) {
    handedOut.picture = pictureAfter(handedOut.picture);
    isHandedOut = true;
  }
  handedOut.start = time(shown->start);
  handedOut.end = time(coming ? coming->start : std::max(end, shown->start + 1));
  return handedOut;
}

VideoReader::VideoReader(const std::filesystem::path& path, int track, VideoReaderOptions options)
    : implementation_(std::make_unique<Implementation>(path, track, options)) {}
VideoReader::~VideoReader() = default;
VideoReader::VideoReader(VideoReader&&) noexcept = default;
VideoReader& VideoReader::operator=(VideoReader&&) noexcept = default;

const MediaTrack& VideoReader::track() const {
  return implementation_->description;
}

std::optional<VideoFrame> VideoReader::frame(double time) {
  auto& self = *implementation_;
  const auto wanted = self.ticks(time);
  const auto earliest = std::min(wanted, self.ticks(time - self.options.toleranceBefore));
  self.find(wanted, earliest);
  if (self.shown && self.passed > self.shown->start) {
    // One that was passed over is shown for longer than it seemed, and is the one wanted.
    self.shown.reset();
    self.mayPass = false;
    self.find(wanted, earliest);
    self.mayPass = true;
  }
  if (!self.shown) return std::nullopt;
  return self.handOut();
}

}  // namespace quillant
