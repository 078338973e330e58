#include "Tests/Support/Media/DecodedMedia.h"

#include <fmt/format.h>
#include <map>

extern "C" {
#include <libavutil/pixdesc.h>
}

#include "MediaKit/FFmpegHandles.h"
#include "Tests/Support/Media/StampedFrames.h"

namespace quillant {

namespace {

MediaTime timeOf(std::int64_t count, AVRational base) {
  return {count * base.num, base.den};
}

std::string colorsOf(AVColorPrimaries primaries, AVColorTransferCharacteristic transfer, AVColorSpace matrix,
                     AVColorRange range) {
  return fmt::format("{} {} {} {}", av_color_primaries_name(primaries), av_color_transfer_name(transfer),
                     av_color_space_name(matrix), av_color_range_name(range));
}

class Decoding {
 public:
  Decoding(const std::filesystem::path& path, DecodedMedia::Keep keep) : keep_(keep) {
    AVFormatContext* context = nullptr;
    if (const int code = avformat_open_input(&context, path.c_str(), nullptr, nullptr); code < 0) {
      note("open", code);
      return;
    }
    input_.reset(context);
    note("stream info", avformat_find_stream_info(context, nullptr));
    media_.duration = {context->duration, AV_TIME_BASE};
    for (unsigned i = 0; i < context->nb_streams; ++i) open(*context->streams[i]);
    decodePackets();
  }

  DecodedMedia take() { return std::move(media_); }

 private:
  void note(std::string_view what, int code) {
    if (code < 0 && code != AVERROR(EAGAIN) && code != AVERROR_EOF)
      media_.errors.push_back(FFmpeg::error(MediaError::Kind::unreadable, what, code).description());
  }

  void open(const AVStream& stream) {
    const auto* codec = avcodec_find_decoder(stream.codecpar->codec_id);
    if (!codec) return;
    FFmpeg::CodecContext decoder(avcodec_alloc_context3(codec));
    avcodec_parameters_to_context(decoder.get(), stream.codecpar);
    decoder->pkt_timebase = stream.time_base;
    decoder->err_recognition = AV_EF_EXPLODE | AV_EF_CRCCHECK | AV_EF_BITSTREAM;
    decoder->thread_count = 1;
    note("open decoder", avcodec_open2(decoder.get(), codec, nullptr));
    if (stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
      soundOf_[stream.index] = media_.sounds.size();
      media_.sounds.push_back({stream.codecpar->ch_layout.nb_channels, stream.codecpar->sample_rate, {}, {}});
    }
    decoders_[stream.index] = std::move(decoder);
  }

  void decodePackets() {
    const FFmpeg::Packet packet(av_packet_alloc());
    int code = 0;
    while ((code = av_read_frame(input_.get(), packet.get())) >= 0) {
      if (packet->flags & AV_PKT_FLAG_CORRUPT) media_.errors.emplace_back("a packet is cut off");
      if (decoders_.contains(packet->stream_index)) {
        note("send", avcodec_send_packet(decoders_[packet->stream_index].get(), packet.get()));
        receive(packet->stream_index);
      }
      av_packet_unref(packet.get());
    }
    note("read", code);
    for (auto& [index, decoder] : decoders_) {
      note("drain", avcodec_send_packet(decoder.get(), nullptr));
      receive(index);
    }
  }

  void receive(int index) {
    const FFmpeg::Frame frame(av_frame_alloc());
    int code = 0;
    while ((code = avcodec_receive_frame(decoders_[index].get(), frame.get())) >= 0) {
      if (frame->decode_error_flags != 0 || (frame->flags & AV_FRAME_FLAG_CORRUPT))
        media_.errors.emplace_back("a frame decodes with errors");
      const auto& stream = *input_->streams[index];
      if (stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO)
        addPicture(*frame, stream);
      else
        addSound(*frame, stream);
      av_frame_unref(frame.get());
    }
    note("decode", code);
  }

  void addPicture(const AVFrame& frame, const AVStream& stream) {
    if (media_.frames.empty()) {
      const auto& parameters = *stream.codecpar;
      media_.colors = colorsOf(frame.color_primaries, frame.color_trc, frame.colorspace, frame.color_range) +
                      ", " +
                      colorsOf(parameters.color_primaries, parameters.color_trc, parameters.color_space,
                               parameters.color_range);
    }
    auto& added = media_.frames.emplace_back();
    added.time = timeOf(frame.pts, stream.time_base);
    added.width = frame.width;
    added.height = frame.height;
    if (frame.width >= 128) added.stamp = StampedFrames::read(frame.data[0], frame.linesize[0]);
    if (keep_ == DecodedMedia::Keep::pictures)
      for (int y = 0; y < frame.height; ++y)
        added.luma.insert(added.luma.end(), frame.data[0] + y * frame.linesize[0],
                          frame.data[0] + y * frame.linesize[0] + frame.width);
  }

  void addSound(const AVFrame& frame, const AVStream& stream) {
    auto& sound = media_.sounds[soundOf_[stream.index]];
    const auto time = timeOf(frame.pts, stream.time_base);
    if (!sound.time.isValid()) sound.time = time;
    const auto at = static_cast<std::size_t>((time - sound.time).converted(sound.sampleRate).value);
    sound.samples.resize(at);
    const auto* samples = reinterpret_cast<const float*>(frame.extended_data[0]);
    sound.samples.insert(sound.samples.end(), samples, samples + frame.nb_samples);
  }

  DecodedMedia::Keep keep_;
  DecodedMedia media_;
  FFmpeg::InputContext input_;
  std::map<int, FFmpeg::CodecContext> decoders_;
  std::map<int, std::size_t> soundOf_;
};

}  // namespace

DecodedMedia DecodedMedia::decode(const std::filesystem::path& path, Keep keep) {
  return Decoding(path, keep).take();
}

}  // namespace quillant
