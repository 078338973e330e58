#include "Linux/Camera/CameraInput.h"

#include <map>
#include <utility>
#include <vector>

#include "CaptureEngine/FacecamError.h"
#include "Linux/Camera/CameraPictures.h"

extern "C" {
#include <libavdevice/avdevice.h>
}

namespace quillant {

namespace {

using Options = std::map<std::string, std::string>;

/// What to ask a device for, the best first. Many cameras reach this size at a full rate only when
/// compressed.
const std::vector<Options>& wishes(bool isDevice) {
  static const std::vector<Options> ofDevices{
      {{"video_size", "1280x720"}, {"framerate", "30"}, {"input_format", "mjpeg"}},
      {{"video_size", "1280x720"}, {"framerate", "30"}},
      {}};
  static const std::vector<Options> ofSources{{}};
  return isDevice ? ofDevices : ofSources;
}

FFmpeg::InputContext open(const AVInputFormat* format, const std::string& address, bool isDevice) {
  int result = AVERROR(ENODEV);
  for (const auto& wanted : wishes(isDevice)) {
    if (!format) break;
    auto* context = FFmpeg::check(avformat_alloc_context());
    context->flags |= AVFMT_FLAG_NONBLOCK;  // a camera that never delivers must not hold its thread
    AVDictionary* options = nullptr;
    for (const auto& [name, value] : wanted) av_dict_set(&options, name.c_str(), value.c_str(), 0);
    result = avformat_open_input(&context, address.c_str(), format, &options);
    av_dict_free(&options);
    if (result >= 0) return FFmpeg::InputContext(context);
  }
  // A device that is there and does not open, because another program has it, is not the same as none.
  const bool isMissing = result == AVERROR(ENOENT) || result == AVERROR(ENODEV) || result == AVERROR(ENXIO);
  throw FacecamError(isDevice && !isMissing ? FacecamError::Kind::cannotConfigure
                                            : FacecamError::Kind::noCamera);
}

FFmpeg::CodecContext openDecoder(const AVCodecParameters& parameters) {
  const auto* codec = avcodec_find_decoder(parameters.codec_id);
  if (!codec) throw FacecamError(FacecamError::Kind::cannotConfigure);
  FFmpeg::CodecContext decoder(FFmpeg::check(avcodec_alloc_context3(codec)));
  avcodec_parameters_to_context(decoder.get(), &parameters);
  if (avcodec_open2(decoder.get(), codec, nullptr) < 0)
    throw FacecamError(FacecamError::Kind::cannotConfigure);
  return decoder;
}

constexpr int evenDown(int value) {
  return value / 2 * 2;
}

}  // namespace

struct CameraInput::Implementation {
  Implementation(FFmpeg::InputContext opened, bool device)
      : input(std::move(opened)),
        isDevice(device),
        decoder(openDecoder(*input->streams[0]->codecpar)),
        format{evenDown(decoder->width), evenDown(decoder->height)},
        pictures(format),
        packet(FFmpeg::check(av_packet_alloc())),
        frame(FFmpeg::check(av_frame_alloc())) {}

  FFmpeg::InputContext input;
  bool isDevice;
  FFmpeg::CodecContext decoder;
  CameraFormat format;
  CameraPictures pictures;
  FFmpeg::Packet packet;
  FFmpeg::Frame frame;
};

CameraInput::CameraInput(std::string id) : id_(std::move(id)) {
  static const bool registered = (avdevice_register_all(), true);
  static_cast<void>(registered);
  const auto colon = id_.find(':');
  const std::string address = colon == std::string::npos ? "" : id_.substr(colon + 1);
  const bool device = id_.starts_with("v4l2:");
  const auto* format = av_find_input_format(id_.substr(0, colon).c_str());
  auto input = open(format, address, device);
  if (input->nb_streams != 1 || input->streams[0]->codecpar->codec_type != AVMEDIA_TYPE_VIDEO)
    throw FacecamError(FacecamError::Kind::cannotConfigure);
  implementation_ = std::make_unique<Implementation>(std::move(input), device);
}

CameraInput::~CameraInput() = default;

CameraFormat CameraInput::format() const {
  return implementation_->format;
}

bool CameraInput::isDevice() const {
  return implementation_->isDevice;
}

std::optional<CameraInput::Frame> CameraInput::read() {
  auto& self = *implementation_;
  const int result = av_read_frame(self.input.get(), self.packet.get());
  if (result == AVERROR(EAGAIN)) return std::nullopt;
  FFmpeg::check(result, "the camera stopped", MediaError::Kind::unreadable);
  const int sent = avcodec_send_packet(self.decoder.get(), self.packet.get());
  const auto base = self.input->streams[0]->time_base;
  const auto time = MediaTime{self.packet->pts * base.num, base.den};
  av_packet_unref(self.packet.get());
  // A frame that arrives broken is one that did not arrive.
  if (sent < 0 || avcodec_receive_frame(self.decoder.get(), self.frame.get()) < 0) return std::nullopt;
  auto picture = self.pictures.convert(*self.frame);
  av_frame_unref(self.frame.get());
  return Frame{std::move(picture), time};
}

}  // namespace quillant
