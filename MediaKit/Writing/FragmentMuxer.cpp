#include "MediaKit/Writing/FragmentMuxer.h"

#include <utility>

#include "MediaKit/FFmpegHandles.h"
#include "MediaKit/Writing/AACEncoder.h"
#include "MediaKit/Writing/Muxing.h"

namespace quillant {

namespace {

constexpr int bufferSize = 64 * 1024;

/// FFmpeg 7 hands over constant bytes, those before it did not. Nothing may be thrown through the muxer,
/// which calls.
template <typename Byte>
int collect(void* opaque, Byte* bytes, int count) noexcept try {
  auto& collected = *static_cast<std::vector<std::uint8_t>*>(opaque);
  collected.insert(collected.end(), bytes, bytes + count);
  return count;
} catch (...) {
  return AVERROR(ENOMEM);
}

FFmpeg::IOContext collectInto(std::vector<std::uint8_t>& bytes) {
  auto* buffer = static_cast<std::uint8_t*>(FFmpeg::check(av_malloc(bufferSize)));
  return FFmpeg::IOContext(
      FFmpeg::check(avio_alloc_context(buffer, bufferSize, 1, &bytes, nullptr, &collect, nullptr)));
}

FFmpeg::OutputContext makeContext(MediaContainer container) {
  AVFormatContext* context = nullptr;
  FFmpeg::check(avformat_alloc_output_context2(&context, nullptr, Muxing::formatName(container), nullptr),
                "could not make a muxer");
  return FFmpeg::OutputContext(context);
}

}  // namespace

struct FragmentMuxer::Implementation {
  explicit Implementation(MediaContainer container)
      : io(collectInto(bytes)), context(makeContext(container)), packet(FFmpeg::check(av_packet_alloc())) {
    context->pb = io.get();
    context->flags |= AVFMT_FLAG_CUSTOM_IO;
    context->avoid_negative_ts = AVFMT_AVOID_NEG_TS_DISABLED;
  }

  std::vector<std::uint8_t> takeBytes() {
    avio_flush(io.get());
    FFmpeg::check(io->error, "could not put the file together");  // nothing with a hole goes to the disk
    return std::exchange(bytes, {});
  }

  std::vector<std::uint8_t> bytes;  // before `io`, which writes into it
  FFmpeg::IOContext io;
  FFmpeg::OutputContext context;
  FFmpeg::Packet packet;
  bool fragmentIsOpen = false;
};

FragmentMuxer::FragmentMuxer(MediaContainer container)
    : implementation_(std::make_unique<Implementation>(container)) {}
FragmentMuxer::~FragmentMuxer() = default;

void FragmentMuxer::addVideo(const VideoInputSettings& settings,
                             const std::vector<std::uint8_t>& configuration) {
  Muxing::addPictureTrack(*implementation_->context, settings, configuration);
}

void FragmentMuxer::addAudio(const AudioInputSettings& settings,
                             const std::vector<std::uint8_t>& configuration) {
  auto& stream = Muxing::addTrack(*implementation_->context, AVMEDIA_TYPE_AUDIO, AV_CODEC_ID_AAC,
                                  AACEncoder::timescale, configuration);
  auto& parameters = *stream.codecpar;
  parameters.sample_rate = AACEncoder::timescale;
  parameters.frame_size = 1024;
  parameters.bit_rate = settings.bitRate;
  av_channel_layout_default(&parameters.ch_layout, settings.channels);
}

FragmentMuxer::Head FragmentMuxer::open() {
  auto& self = *implementation_;
  AVDictionary* options = nullptr;
  av_dict_set(&options, "movflags", "frag_custom+empty_moov+default_base_moof+skip_trailer", 0);
  av_dict_set(&options, "use_editlist", "0", 0);
  const int result = avformat_write_header(self.context.get(), &options);
  av_dict_free(&options);
  FFmpeg::check(result, "could not start the file");
  auto bytes = self.takeBytes();
  // The type's box comes first, and begins with its size.
  const auto typeSize = (std::size_t{bytes[2]} << 8) | bytes[3];
  return {{bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(typeSize)},
          {bytes.begin() + static_cast<std::ptrdiff_t>(typeSize), bytes.end()}};
}

void FragmentMuxer::write(std::size_t track, const EncodedPacket& packet) {
  auto& self = *implementation_;
  if (!std::exchange(self.fragmentIsOpen, true))
    // The muxer clears this flag as it acts on it, and else puts a fragment at the end of the one before.
    FFmpeg::check(av_opt_set(self.context->priv_data, "movflags", "+frag_discont", 0),
                  "could not start a fragment");
  auto& out = *self.packet;
  out.data = const_cast<std::uint8_t*>(packet.data.data());  // read only: copied by the muxer
  out.size = static_cast<int>(packet.data.size());
  out.stream_index = static_cast<int>(track);
  out.pts = out.dts = packet.time;
  out.duration = packet.duration;
  out.flags = packet.isKeyFrame ? AV_PKT_FLAG_KEY : 0;
  const int result = av_write_frame(self.context.get(), &out);
  av_packet_unref(&out);
  FFmpeg::check(result, "could not write a packet");
}

std::vector<std::uint8_t> FragmentMuxer::closeFragment() {
  auto& self = *implementation_;
  if (!std::exchange(self.fragmentIsOpen, false)) return {};
  FFmpeg::check(av_write_frame(self.context.get(), nullptr), "could not close a fragment");
  return self.takeBytes();
}

}  // namespace quillant
