#include "MediaKit/Writing/Muxing.h"

#include <cstring>

#include "MediaKit/Writing/H264Encoder.h"

namespace quillant::Muxing {

using FFmpeg::check;

const char* formatName(MediaContainer container) {
  return container == MediaContainer::mp4 ? "mp4" : "mov";
}

AVStream& addTrack(AVFormatContext& context, AVMediaType type, AVCodecID codec, int timescale,
                   std::span<const std::uint8_t> configuration) {
  AVStream& stream = *check(avformat_new_stream(&context, nullptr));
  stream.time_base = {1, timescale};
  auto& parameters = *stream.codecpar;
  parameters.codec_type = type;
  parameters.codec_id = codec;
  parameters.extradata =
      static_cast<std::uint8_t*>(check(av_mallocz(configuration.size() + AV_INPUT_BUFFER_PADDING_SIZE)));
  parameters.extradata_size = static_cast<int>(configuration.size());
  std::memcpy(parameters.extradata, configuration.data(), configuration.size());
  return stream;
}

AVStream& addPictureTrack(AVFormatContext& context, const VideoInputSettings& settings,
                          std::span<const std::uint8_t> configuration) {
  AVStream& stream =
      addTrack(context, AVMEDIA_TYPE_VIDEO, AV_CODEC_ID_H264, H264Encoder::timescale, configuration);
  auto& parameters = *stream.codecpar;
  parameters.width = settings.width;
  parameters.height = settings.height;
  parameters.format = AV_PIX_FMT_YUV420P;
  if (settings.color == ColorTagging::p3D65Rec709) {
    parameters.color_primaries = AVCOL_PRI_SMPTE432;
    parameters.color_trc = AVCOL_TRC_BT709;
    parameters.color_space = AVCOL_SPC_BT709;
    parameters.color_range = AVCOL_RANGE_MPEG;
  }
  return stream;
}

}  // namespace quillant::Muxing
