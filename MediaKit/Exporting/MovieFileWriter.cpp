#include "MediaKit/Exporting/MovieFileWriter.h"

#include <algorithm>
#include <cstring>

#include "MediaKit/Exporting/StagedOutput.h"
#include "MediaKit/Writing/H264Encoder.h"
#include "MediaKit/Writing/Muxing.h"

namespace quillant {

namespace {

using FFmpeg::check;

FFmpeg::CodecContext openSoundEncoder(const MovieSoundSettings& settings) {
  FFmpeg::CodecContext encoder(check(avcodec_alloc_context3(avcodec_find_encoder(AV_CODEC_ID_AAC))));
  encoder->sample_rate = settings.sampleRate;
  encoder->sample_fmt = AV_SAMPLE_FMT_FLTP;
  encoder->bit_rate = settings.bitRate;
  encoder->time_base = {1, settings.sampleRate};
  encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER | AV_CODEC_FLAG_BITEXACT;
  av_channel_layout_default(&encoder->ch_layout, settings.channels);
  // It keeps the level of steady tones better than the default coder does.
  av_opt_set(encoder->priv_data, "aac_coder", "fast", 0);
  check(avcodec_open2(encoder.get(), nullptr, nullptr), "could not open the AAC encoder");
  return encoder;
}

}  // namespace

struct MovieFileWriter::Implementation {
  Implementation(const std::filesystem::path& target, MediaContainer container,
                 std::optional<MovieSoundSettings> settings)
      : output(target, Muxing::formatName(container)), sound(settings) {}

  void encodeSound(const float* frames, int count);
  void receiveSound();
  void write(AVPacket& packet, AVStream& stream, AVRational timeBase);

  StagedOutput output;
  std::optional<MovieSoundSettings> sound;
  AVStream* pictureStream = nullptr;
  AVStream* soundStream = nullptr;
  FFmpeg::CodecContext soundEncoder;
  FFmpeg::Packet packet{check(av_packet_alloc())};
  FFmpeg::Frame frame{check(av_frame_alloc())};
  std::vector<float> pending;      ///< Less than one frame of the codec.
  std::int64_t soundFrames = 0;    ///< Taken.
  std::int64_t encodedFrames = 0;  ///< Given to the codec.
};

void MovieFileWriter::Implementation::write(AVPacket& out, AVStream& stream, AVRational timeBase) {
  out.stream_index = stream.index;
  av_packet_rescale_ts(&out, timeBase, stream.time_base);
  output.check(av_interleaved_write_frame(&output.context(), &out), "could not write a packet");
}

void MovieFileWriter::Implementation::encodeSound(const float* frames, int count) {
  const int channels = sound->channels;
  frame->nb_samples = count;
  frame->format = AV_SAMPLE_FMT_FLTP;
  frame->sample_rate = sound->sampleRate;
  av_channel_layout_copy(&frame->ch_layout, &soundEncoder->ch_layout);
  frame->pts = encodedFrames;
  check(av_frame_get_buffer(frame.get(), 0), "could not encode sound");
  for (int channel = 0; channel < channels; ++channel) {
    auto* plane = reinterpret_cast<float*>(frame->extended_data[channel]);
    for (int i = 0; i < count; ++i) plane[i] = std::clamp(frames[i * channels + channel], -1.0f, 1.0f);
  }
  encodedFrames += count;
  check(avcodec_send_frame(soundEncoder.get(), frame.get()), "could not encode sound");
  av_frame_unref(frame.get());
  receiveSound();
}

void MovieFileWriter::Implementation::receiveSound() {
  while (avcodec_receive_packet(soundEncoder.get(), packet.get()) == 0)
    write(*packet, *soundStream, soundEncoder->time_base);
}

MovieFileWriter::MovieFileWriter(const std::filesystem::path& target, MediaContainer container,
                                 const VideoInputSettings& video, std::span<const std::uint8_t> configuration,
                                 std::optional<MovieSoundSettings> sound)
    : implementation_(std::make_unique<Implementation>(target, container, sound)) {
  auto& self = *implementation_;
  auto& context = self.output.context();
  self.pictureStream = &Muxing::addPictureTrack(context, video, configuration);
  if (sound) {
    self.soundEncoder = openSoundEncoder(*sound);
    self.soundStream = check(avformat_new_stream(&context, nullptr));
    self.soundStream->time_base = self.soundEncoder->time_base;
    check(avcodec_parameters_from_context(self.soundStream->codecpar, self.soundEncoder.get()),
          "could not describe the sound");
  }
  AVDictionary* options = nullptr;
  av_dict_set(&options, "movflags", "+faststart", 0);
  av_dict_set_int(&options, "video_track_timescale", H264Encoder::timescale, 0);
  const int result = avformat_write_header(&context, &options);
  av_dict_free(&options);
  self.output.check(result, "could not start the file");
}
MovieFileWriter::~MovieFileWriter() = default;

void MovieFileWriter::writePicture(const EncodedPacket& packet) {
  auto& self = *implementation_;
  auto& out = *self.packet;
  FFmpeg::check(av_new_packet(&out, static_cast<int>(packet.data.size())), "could not write a packet");
  std::memcpy(out.data, packet.data.data(), packet.data.size());
  out.pts = out.dts = packet.time;
  out.duration = packet.duration;
  out.flags = packet.isKeyFrame ? AV_PKT_FLAG_KEY : 0;
  self.write(out, *self.pictureStream, {1, H264Encoder::timescale});
}

void MovieFileWriter::writeSound(std::span<const float> frames) {
  auto& self = *implementation_;
  const auto channels = static_cast<std::size_t>(self.sound->channels);
  const auto whole = static_cast<std::size_t>(self.soundEncoder->frame_size) * channels;
  self.soundFrames += static_cast<std::int64_t>(frames.size() / channels);
  while (!frames.empty()) {
    const auto count = std::min(frames.size(), whole - self.pending.size());
    self.pending.insert(self.pending.end(), frames.begin(),
                        frames.begin() + static_cast<std::ptrdiff_t>(count));
    frames = frames.subspan(count);
    if (self.pending.size() < whole) return;
    self.encodeSound(self.pending.data(), self.soundEncoder->frame_size);
    self.pending.clear();
  }
}

std::int64_t MovieFileWriter::soundFrames() const {
  return implementation_->soundFrames;
}

void MovieFileWriter::finish() {
  auto& self = *implementation_;
  if (self.soundEncoder) {
    if (!self.pending.empty())
      self.encodeSound(self.pending.data(), static_cast<int>(self.pending.size()) / self.sound->channels);
    avcodec_send_frame(self.soundEncoder.get(), nullptr);
    self.receiveSound();
  }
  self.output.check(av_write_trailer(&self.output.context()), "could not finish the file");
  self.output.publish();
}

}  // namespace quillant
