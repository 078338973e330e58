#include "MediaKit/Reading/SoundReader.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <vector>

#include "MediaKit/Reading/MediaInput.h"

namespace quillant {

namespace {

using FFmpeg::check;

/// What is decoded before the frame asked for, in seconds: codecs mend themselves in this time after a jump.
constexpr double codecPreroll = 0.25;
/// What the resampler is given before the frame asked for, in seconds: longer than its filter.
constexpr double filterPreroll = 0.02;
/// Silence is made in pieces, so that a long hole needs no more memory than a short one.
constexpr std::int64_t silencePiece = 8192;

MediaError unreadable(const char* what) {
  return {MediaError::Kind::unreadable, what};
}

AVStream& audioStream(MediaInput& input, int track) {
  auto* stream = input.choose(MediaTrack::Kind::audio, track);
  if (!stream) throw unreadable("the file has no such audio track");
  return *stream;
}

}  // namespace

struct SoundReader::Implementation {
  Implementation(const std::filesystem::path& path, int track, SoundFormat wanted)
      : format(wanted),
        input(path),
        stream(audioStream(input, track)),
        decoder(MediaInput::openDecoder(stream)) {
    // Containers are wrong about the rate of some codecs: the first frame that decodes tells.
    if (decodeFrame()) {
      sourceRate = frame->sample_rate;
      restart();
    } else if (hasPackets) {
      throw unreadable("nothing in the audio track can be decoded");
    } else {
      isEmpty = atEnd = true;
    }
  }

  void seek(std::int64_t target);
  void restart();
  bool decodeFrame();
  void feedFrame();
  void feedSilence(std::int64_t count);
  void prepareResampler();
  void resample(const std::uint8_t** data, int count);
  bool produce();

  SoundFormat format;
  MediaInput input;
  AVStream& stream;
  FFmpeg::CodecContext decoder;
  FFmpeg::Resampler resampler;
  FFmpeg::Packet packet{check(av_packet_alloc())};
  FFmpeg::Frame frame{check(av_frame_alloc())};  ///< The last one decoded.
  int sourceRate = 0;
  int sourceFormat = AV_SAMPLE_FMT_NONE;  ///< With the channels, what the resampler was made for.
  int sourceChannels = 0;
  std::int64_t position = 0;    ///< The next frame that is handed out.
  std::int64_t sourceNext = 0;  ///< The next sample for the resampler, at the source's rate.
  std::int64_t madeNext = 0;    ///< The frame that the first sample in `made` is of.
  std::vector<float> made;      ///< Resampled, from `taken` on.
  std::size_t taken = 0;
  bool hasPackets = false;
  bool isEmpty = false;   ///< A track that a recording was killed before it got its first sound.
  bool isPlaced = false;  ///< A frame was fed since decoding began anew: those after it follow it.
  bool atEnd = false;
};

void SoundReader::Implementation::seek(std::int64_t target) {
  position = target;
  if (isEmpty) return;
  const auto first = madeNext + static_cast<std::int64_t>(taken) / format.channels;
  const auto end = madeNext + static_cast<std::int64_t>(made.size()) / format.channels;
  // A little way ahead is decoded sooner than it is sought.
  if (target < first || target > end + (atEnd ? 0 : format.sampleRate / 2)) restart();
}

/// Starts decoding so that the resampler begins with a sample of its input and one of its output at the same
/// moment: then frame n has the same value wherever reading began.
void SoundReader::Implementation::restart() {
  const std::int64_t step = format.sampleRate / std::gcd(format.sampleRate, sourceRate);
  const auto preroll = static_cast<std::int64_t>(filterPreroll * format.sampleRate);
  madeNext = std::max<std::int64_t>(0, (position - preroll) / step * step);
  sourceNext = madeNext / step * (sourceRate / std::gcd(format.sampleRate, sourceRate));
  made.clear();
  taken = 0;
  atEnd = false;
  resampler.reset();
  isPlaced = false;

  const double from = static_cast<double>(sourceNext) / sourceRate - codecPreroll;
  // From the beginning on, what an encoder put before it too.
  const double since = from > 0 ? from : -1;
  const auto ticks = input.zero(stream) + static_cast<std::int64_t>(since / av_q2d(stream.time_base));
  input.seek(stream, ticks);
  avcodec_flush_buffers(decoder.get());
}

/// Decodes into `frame`; false at the end of the track.
bool SoundReader::Implementation::decodeFrame() {
  for (;;) {
    const int code = avcodec_receive_frame(decoder.get(), frame.get());
    if (code == 0) {
      if (frame->nb_samples > 0 && (sourceRate == 0 || frame->sample_rate == sourceRate)) return true;
      continue;
    }
    if (code == AVERROR_EOF) return false;
    if (code != AVERROR(EAGAIN)) check(code, "could not decode the sound", MediaError::Kind::unreadable);
    const int read = av_read_frame(&input.context(), packet.get());
    if (read == AVERROR_EOF) {
      avcodec_send_packet(decoder.get(), nullptr);
      continue;
    }
    check(read, "the sound could not be read", MediaError::Kind::unreadable);
    if (packet->stream_index == stream.index) {
      hasPackets = true;
      avcodec_send_packet(decoder.get(), packet.get());
    }
    av_packet_unref(packet.get());
  }
}

void SoundReader::Implementation::prepareResampler() {
  if (resampler && frame->format == sourceFormat && frame->ch_layout.nb_channels == sourceChannels) return;
  if (resampler) resample(nullptr, 0);
  sourceFormat = frame->format;
  sourceChannels = frame->ch_layout.nb_channels;
  AVChannelLayout wanted{};
  av_channel_layout_default(&wanted, format.channels);
  AVChannelLayout given{};
  if (frame->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
    av_channel_layout_default(&given, frame->ch_layout.nb_channels);
  else
    check(av_channel_layout_copy(&given, &frame->ch_layout), "could not read the layout of the sound");
  SwrContext* allocated = nullptr;
  check(swr_alloc_set_opts2(&allocated, &wanted, AV_SAMPLE_FMT_FLT, format.sampleRate, &given,
                            static_cast<AVSampleFormat>(frame->format), sourceRate, 0, nullptr),
        "could not make a resampler");
  resampler.reset(allocated);
  av_opt_set_int(allocated, "exact_rational", 1, 0);
  av_opt_set_double(allocated, "rematrix_maxval", 1, 0);  // a downmix never clips
  if (given.nb_channels == 1) {
    const std::vector<double> toEach(static_cast<std::size_t>(format.channels), 1.0);
    check(swr_set_matrix(allocated, toEach.data(), 1), "could not mix the sound");
  }
  av_channel_layout_uninit(&given);
  check(swr_init(allocated), "could not open the resampler");
}

/// No data: what the resampler still holds.
void SoundReader::Implementation::resample(const std::uint8_t** data, int count) {
  const auto channels = static_cast<std::size_t>(format.channels);
  const int room = check(swr_get_out_samples(resampler.get(), count), "could not resample");
  const auto before = made.size();
  made.resize(before + static_cast<std::size_t>(room) * channels);
  auto* target = reinterpret_cast<std::uint8_t*>(made.data() + before);
  const int frames = check(swr_convert(resampler.get(), &target, room, data, count), "could not resample");
  made.resize(before + static_cast<std::size_t>(frames) * channels);
}

void SoundReader::Implementation::feedSilence(std::int64_t count) {
  const auto kind = static_cast<AVSampleFormat>(frame->format);
  const int channels = frame->ch_layout.nb_channels;
  const bool isPlanar = av_sample_fmt_is_planar(kind) != 0;
  const auto piece = static_cast<int>(std::min(count, silencePiece));
  std::vector<std::uint8_t> zeros(
      static_cast<std::size_t>(piece) * av_get_bytes_per_sample(kind) * (isPlanar ? 1 : channels),
      kind == AV_SAMPLE_FMT_U8 || kind == AV_SAMPLE_FMT_U8P ? 0x80 : 0);
  const std::vector<const std::uint8_t*> planes(static_cast<std::size_t>(isPlanar ? channels : 1),
                                                zeros.data());
  auto pointers = planes;
  resample(pointers.data(), piece);
  sourceNext += piece;
}

/// Gives the decoded frame to the resampler, at its place in time.
void SoundReader::Implementation::feedFrame() {
  prepareResampler();
  const auto kind = static_cast<AVSampleFormat>(frame->format);
  const int channels = frame->ch_layout.nb_channels;
  int skipped = 0;
  if (frame->best_effort_timestamp != AV_NOPTS_VALUE) {
    const auto start =
        av_rescale_q(frame->best_effort_timestamp - input.zero(stream), stream.time_base, {1, sourceRate});
    // A container's ticks may be coarser than samples: less than two of them off is in its place.
    const auto tick = av_rescale_q_rnd(2, stream.time_base, {1, sourceRate}, AV_ROUND_UP);
    if (!isPlaced || std::abs(start - sourceNext) > std::max<std::int64_t>(tick, 1)) {
      skipped = static_cast<int>(std::clamp<std::int64_t>(sourceNext - start, 0, frame->nb_samples));
      while (start > sourceNext) feedSilence(start - sourceNext);
    }
  }
  isPlaced = true;
  const int count = frame->nb_samples - skipped;
  if (count <= 0) return;
  const auto offset = static_cast<std::size_t>(skipped) * av_get_bytes_per_sample(kind);
  std::vector<const std::uint8_t*> planes;
  if (av_sample_fmt_is_planar(kind))
    for (int i = 0; i < channels; ++i) planes.push_back(frame->extended_data[i] + offset);
  else
    planes.push_back(frame->extended_data[0] + offset * channels);
  resample(planes.data(), count);
  sourceNext += count;
}

/// Makes more sound; false at the end of the track.
bool SoundReader::Implementation::produce() {
  if (atEnd) return false;
  const auto channels = static_cast<std::size_t>(format.channels);
  madeNext += static_cast<std::int64_t>(taken / channels);
  made.erase(made.begin(), made.begin() + static_cast<std::ptrdiff_t>(taken));
  taken = 0;
  if (decodeFrame()) {
    feedFrame();
  } else {
    atEnd = true;
    if (resampler) resample(nullptr, 0);
  }
  return true;
}

SoundReader::SoundReader(const std::filesystem::path& path, int track, SoundFormat format)
    : implementation_(std::make_unique<Implementation>(path, track, format)) {}
SoundReader::~SoundReader() = default;
SoundReader::SoundReader(SoundReader&&) noexcept = default;
SoundReader& SoundReader::operator=(SoundReader&&) noexcept = default;

const SoundFormat& SoundReader::format() const {
  return implementation_->format;
}
std::int64_t SoundReader::position() const {
  return implementation_->position;
}
void SoundReader::seek(std::int64_t frame) {
  implementation_->seek(frame);
}

std::size_t SoundReader::read(std::span<float> samples) {
  auto& self = *implementation_;
  const auto channels = static_cast<std::size_t>(self.format.channels);
  const auto wanted = samples.size() / channels;
  std::size_t done = 0;
  while (done < wanted) {
    if (self.position < 0) {
      const auto silent = std::min(wanted - done, static_cast<std::size_t>(-self.position));
      std::fill_n(samples.begin() + static_cast<std::ptrdiff_t>(done * channels), silent * channels, 0.0f);
      done += silent;
      self.position += static_cast<std::int64_t>(silent);
      continue;
    }
    // Frames before the position were made for the sake of filters, or are passed over.
    const auto available = (self.made.size() - self.taken) / channels;
    const auto first = self.madeNext + static_cast<std::int64_t>(self.taken / channels);
    const auto passed =
        std::min(available, static_cast<std::size_t>(std::max<std::int64_t>(self.position - first, 0)));
    self.taken += passed * channels;
    const auto count = std::min(available - passed, wanted - done);
    std::copy_n(self.made.begin() + static_cast<std::ptrdiff_t>(self.taken), count * channels,
                samples.begin() + static_cast<std::ptrdiff_t>(done * channels));
    self.taken += count * channels;
    done += count;
    self.position += static_cast<std::int64_t>(count);
    if (done < wanted && !self.produce()) break;
  }
  return done;
}

}  // namespace quillant
