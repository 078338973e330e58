#include "MediaKit/Exporting/StreamCopy.h"

#include <algorithm>
#include <span>
#include <vector>

#include "MediaKit/Exporting/StagedOutput.h"
#include "MediaKit/Reading/MediaInput.h"
#include "MediaKit/Writing/Muxing.h"

namespace quillant {

using FFmpeg::check;

bool StreamCopy::canCopy(const std::filesystem::path& source, MediaContainer container) {
  MediaInput input(source, MediaInput::Extent::head);
  input.describeStreams();
  const auto* format = av_guess_format(Muxing::formatName(container), nullptr, nullptr);
  const std::span streams(input.context().streams, input.context().nb_streams);
  return std::ranges::all_of(streams, [&](const AVStream* stream) {
    return !MediaInput::isMedia(*stream) ||
           avformat_query_codec(format, stream->codecpar->codec_id, FF_COMPLIANCE_NORMAL) == 1;
  });
}

bool StreamCopy::copy(const std::filesystem::path& source, const std::filesystem::path& target,
                      MediaContainer container, const Progress& progress) {
  MediaInput input(source);
  input.describeStreams();
  auto& from = input.context();
  StagedOutput output(target, Muxing::formatName(container));
  auto& to = output.context();

  std::vector<AVStream*> copies(from.nb_streams, nullptr);
  double duration = 0;
  for (unsigned i = 0; i < from.nb_streams; ++i) {
    const auto& stream = *from.streams[i];
    if (!MediaInput::isMedia(stream)) continue;
    auto& copy = *check(avformat_new_stream(&to, nullptr));
    check(avcodec_parameters_copy(copy.codecpar, stream.codecpar), "could not describe a track");
    // The codec's name in the container stays where this one knows it: hvc1 and hev1 are no two words for
    // one.
    if (av_codec_get_id(to.oformat->codec_tag, stream.codecpar->codec_tag) != stream.codecpar->codec_id)
      copy.codecpar->codec_tag = 0;
    copy.time_base = stream.time_base;
    copy.avg_frame_rate = stream.avg_frame_rate;
    copy.disposition = stream.disposition;
    MediaInput::copyOrientation(stream, copy);
    copies[i] = &copy;
    duration = std::max(duration, input.describe(stream).duration.seconds());
  }
  AVDictionary* options = nullptr;
  av_dict_set(&options, "movflags", "+faststart", 0);
  const int started = avformat_write_header(&to, &options);
  av_dict_free(&options);
  output.check(started, "could not start the file");

  double done = 0;
  const FFmpeg::Packet packet(check(av_packet_alloc()));
  for (;;) {
    const int read = av_read_frame(&from, packet.get());
    if (read == AVERROR_EOF) break;
    check(read, "the video could not be read", MediaError::Kind::unreadable);
    auto* copy = copies[static_cast<std::size_t>(packet->stream_index)];
    if (!copy) {
      av_packet_unref(packet.get());
      continue;
    }
    const auto& stream = *from.streams[packet->stream_index];
    // Tracks lie beside one another, a little apart.
    if (packet->dts != AV_NOPTS_VALUE && duration > 0)
      done = std::max(done,
                      std::min(static_cast<double>(packet->dts) * av_q2d(stream.time_base) / duration, 1.0));
    if (!progress(done)) return false;
    av_packet_rescale_ts(packet.get(), stream.time_base, copy->time_base);
    packet->stream_index = copy->index;
    packet->pos = -1;
    output.check(av_interleaved_write_frame(&to, packet.get()), "could not write a packet");
  }
  output.check(av_write_trailer(&to), "could not finish the file");
  output.publish();
  return true;
}

}  // namespace quillant
