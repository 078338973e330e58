#include "MediaKit/Writing/AACEncoder.h"

#include <algorithm>
#include <utility>

#include "MediaKit/FFmpegHandles.h"

extern "C" {
#include <libavutil/audio_fifo.h>
}

namespace quillant {

namespace {

using Fifo = std::unique_ptr<AVAudioFifo, FFmpeg::Release<av_audio_fifo_free>>;

/// Silence is made in pieces of this length, so that a long hole needs no more memory than a short one.
constexpr int silencePiece = AACEncoder::timescale / 2;

FFmpeg::CodecContext openEncoder(const AudioInputSettings& settings) {
  FFmpeg::CodecContext context(FFmpeg::check(avcodec_alloc_context3(avcodec_find_encoder(AV_CODEC_ID_AAC))));
  context->sample_rate = AACEncoder::timescale;
  context->sample_fmt = AV_SAMPLE_FMT_FLTP;
  context->bit_rate = settings.bitRate;
  context->time_base = {1, AACEncoder::timescale};
  context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  av_channel_layout_default(&context->ch_layout, settings.channels);
  FFmpeg::check(avcodec_open2(context.get(), nullptr, nullptr), "could not open the AAC encoder");
  return context;
}

}  // namespace

struct AACEncoder::Implementation {
  explicit Implementation(const AudioInputSettings& settings)
      : codec(openEncoder(settings)),
        frame(FFmpeg::check(av_frame_alloc())),
        fifo(FFmpeg::check(
            av_audio_fifo_alloc(AV_SAMPLE_FMT_FLTP, settings.channels, 2 * codec->frame_size))) {}

  void prepare(int sampleRate, int channels);
  void take(const float* samples, int count, std::int64_t inputTime);
  void resample(const std::uint8_t* samples, int count);
  void encodeWhole();
  void encodeFrame(int count);
  void receive();
  std::int64_t end() const { return encoded + av_audio_fifo_size(fifo.get()); }

  FFmpeg::CodecContext codec;
  FFmpeg::Resampler resampler;
  FFmpeg::Frame frame;
  Fifo fifo;
  int inputRate = 0;
  int inputChannels = 0;
  std::int64_t encoded = 0;  ///< Samples given to the codec.
  std::vector<EncodedPacket> packets;
};

/// The resampler for sound of this form; a change of form starts it anew where the track stands.
void AACEncoder::Implementation::prepare(int sampleRate, int channels) {
  if (resampler && sampleRate == inputRate && channels == inputChannels) return;
  if (resampler) resample(nullptr, 0);
  AVChannelLayout layout{};
  av_channel_layout_default(&layout, channels);
  SwrContext* made = nullptr;
  FFmpeg::check(swr_alloc_set_opts2(&made, &codec->ch_layout, AV_SAMPLE_FMT_FLTP, timescale, &layout,
                                    AV_SAMPLE_FMT_FLT, sampleRate, 0, nullptr),
                "could not make a resampler");
  resampler.reset(made);
  // Differences of time up to a tenth of a second are taken back at 2 ms a second, which nobody hears;
  // larger ones at once, by silence or a cut. Jitter below 5 ms is left alone.
  av_opt_set_int(made, "flags", SWR_FLAG_RESAMPLE, 0);
  av_opt_set_double(made, "min_comp", 0.005, 0);
  av_opt_set_double(made, "min_hard_comp", 0.1, 0);
  av_opt_set_double(made, "comp_duration", 1, 0);
  av_opt_set_double(made, "max_soft_comp", 0.002, 0);
  av_opt_set_int(made, "first_pts", MediaTime{end(), timescale}.converted(sampleRate).value, 0);
  FFmpeg::check(swr_init(made), "could not open the resampler");
  inputRate = sampleRate;
  inputChannels = channels;
}

/// `inputTime` in samples of the input from the track's zero.
void AACEncoder::Implementation::take(const float* samples, int count, std::int64_t inputTime) {
  swr_next_pts(resampler.get(), inputTime * timescale);
  resample(reinterpret_cast<const std::uint8_t*>(samples), count);
  encodeWhole();
}

/// No samples: what the resampler still holds.
void AACEncoder::Implementation::resample(const std::uint8_t* samples, int count) {
  const int room = FFmpeg::check(swr_get_out_samples(resampler.get(), count), "could not resample");
  std::vector<std::vector<float>> planes(static_cast<std::size_t>(codec->ch_layout.nb_channels),
                                         std::vector<float>(static_cast<std::size_t>(room)));
  std::vector<std::uint8_t*> targets;
  for (auto& plane : planes) targets.push_back(reinterpret_cast<std::uint8_t*>(plane.data()));
  const int made =
      FFmpeg::check(swr_convert(resampler.get(), targets.data(), room, samples ? &samples : nullptr, count),
                    "could not resample");
  FFmpeg::check(av_audio_fifo_write(fifo.get(), reinterpret_cast<void**>(targets.data()), made),
                "could not keep sound");
}

void AACEncoder::Implementation::encodeWhole() {
  while (av_audio_fifo_size(fifo.get()) >= codec->frame_size) encodeFrame(codec->frame_size);
}

void AACEncoder::Implementation::encodeFrame(int count) {
  frame->nb_samples = count;
  frame->format = AV_SAMPLE_FMT_FLTP;
  frame->sample_rate = timescale;
  av_channel_layout_copy(&frame->ch_layout, &codec->ch_layout);
  frame->pts = encoded;
  FFmpeg::check(av_frame_get_buffer(frame.get(), 0), "could not encode sound");
  av_audio_fifo_read(fifo.get(), reinterpret_cast<void**>(frame->extended_data), count);
  encoded += count;
  FFmpeg::check(avcodec_send_frame(codec.get(), frame.get()), "could not encode sound");
  av_frame_unref(frame.get());
  receive();
}

void AACEncoder::Implementation::receive() {
  const FFmpeg::Packet packet(FFmpeg::check(av_packet_alloc()));
  while (avcodec_receive_packet(codec.get(), packet.get()) == 0) {
    if (packet->pts >= 0)
      packets.push_back({{packet->data, packet->data + packet->size}, packet->pts, codec->frame_size, true});
    av_packet_unref(packet.get());
  }
}

AACEncoder::AACEncoder(const AudioInputSettings& settings)
    : implementation_(std::make_unique<Implementation>(settings)) {}
AACEncoder::~AACEncoder() = default;

std::vector<std::uint8_t> AACEncoder::configuration() const {
  const auto& codec = *implementation_->codec;
  return {codec.extradata, codec.extradata + codec.extradata_size};
}

void AACEncoder::append(const AudioBuffer& buffer) {
  auto& self = *implementation_;
  self.prepare(buffer.sampleRate, buffer.channels);
  const auto start = buffer.time.converted(buffer.sampleRate).value;
  const int cut = static_cast<int>(std::clamp<std::int64_t>(-start, 0, buffer.frameCount()));
  if (cut == buffer.frameCount()) return;
  fill(buffer.time - MediaTime{1, 2});
  self.take(buffer.samples.data() + static_cast<std::ptrdiff_t>(cut) * buffer.channels,
            buffer.frameCount() - cut, start + cut);
}

void AACEncoder::fill(MediaTime time) {
  auto& self = *implementation_;
  const auto target = time.converted(timescale).value;
  if (self.end() >= target) return;
  if (!self.resampler) self.prepare(timescale, 1);
  const std::vector<float> silence(static_cast<std::size_t>(silencePiece) * self.inputChannels);
  while (self.end() < target) {
    const auto inputTime = MediaTime{self.end(), timescale}.converted(self.inputRate).value;
    const auto missing = MediaTime{target - self.end(), timescale}.converted(self.inputRate).value;
    self.take(silence.data(), static_cast<int>(std::clamp<std::int64_t>(missing, 1, silencePiece)),
              inputTime);
  }
}

void AACEncoder::finish() {
  auto& self = *implementation_;
  if (self.resampler) self.resample(nullptr, 0);
  self.encodeWhole();
  if (const int rest = av_audio_fifo_size(self.fifo.get()); rest > 0) self.encodeFrame(rest);
  avcodec_send_frame(self.codec.get(), nullptr);
  self.receive();
}

std::vector<EncodedPacket> AACEncoder::takePackets() {
  return std::exchange(implementation_->packets, {});
}

}  // namespace quillant
