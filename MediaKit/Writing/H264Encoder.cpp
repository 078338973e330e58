#include "MediaKit/Writing/H264Encoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <fmt/format.h>
#include <span>
#include <string_view>
#include <thread>
#include <x264.h>

#include "Core/Log.h"
#include "MediaKit/MediaError.h"

namespace quillant {

namespace {

/// From the preset that a recording starts with to the fastest.
constexpr std::array presets{"veryfast", "superfast", "ultrafast"};
constexpr auto filePreset = "superfast";

void logProblem(void*, int, const char* format, va_list arguments) {
  std::array<char, 400> text{};
  std::vsnprintf(text.data(), text.size(), format, arguments);
  std::string_view line(text.data());
  while (line.ends_with('\n')) line.remove_suffix(1);
  Log::write("encoder: {}", line);
}

/// Each picture comes with its quantizer.
void takeQuantizers(x264_param_t& result) {
  // With weighted prediction off as well, nothing needs the coarse analysis that
  // is half of the work on a screen.
  result.rc.i_rc_method = X264_RC_CQP;
  constexpr int ordinary = 22;
  result.rc.i_qp_constant = ordinary;
  // The encoder clips what it is told to the range from the quantizer of keyframes to that of B pictures, of
  // which there are none.
  result.rc.f_ip_factor = std::exp2((ordinary - H264Encoder::finestQuantizer) / 6.0F);
  result.rc.f_pb_factor = std::exp2((H264Encoder::coarsestQuantizer - ordinary) / 6.0F);
  result.analyse.i_weighted_pred = X264_WEIGHTP_NONE;
}

x264_param_t parameters(const VideoInputSettings& settings) {
  const auto isUsable = [](int side) { return side > 0 && side % 2 == 0 && side <= 16384; };
  if (!isUsable(settings.width) || !isUsable(settings.height))
    throw MediaError(MediaError::Kind::codec, fmt::format("a video of {}x{} pixels cannot be encoded",
                                                          settings.width, settings.height));
  x264_param_t result;
  x264_param_default_preset(&result, settings.file ? filePreset : presets[0], "zerolatency");
  result.pf_log = logProblem;
  result.i_log_level = X264_LOG_ERROR;
  result.i_width = settings.width;
  result.i_height = settings.height;
  result.i_csp = X264_CSP_I420;
  // Slices of one picture in parallel: no thread holds a picture back.
  result.i_threads =
      settings.file ? 1 : std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 4);
  result.b_sliced_threads = settings.file ? 0 : 1;
  result.i_fps_num = static_cast<std::uint32_t>(std::max(1, settings.expectedFrameRate));
  result.i_fps_den = 1;
  // The writer asks for keyframes by time; a count of frames says nothing at a variable rate.
  result.i_keyint_max = X264_KEYINT_MAX_INFINITE;
  result.i_scenecut_threshold = 0;
  takeQuantizers(result);
  result.b_annexb = 0;
  result.b_repeat_headers = 0;
  result.analyse.b_mb_info = 1;
  if (settings.color == ColorTagging::p3D65Rec709) {
    result.vui.i_colorprim = 12;  // P3 with the white point D65
    result.vui.i_transfer = 1;    // BT.709
    result.vui.i_colmatrix = 1;   // BT.709
    result.vui.b_fullrange = 0;
  }
  return result;
}

}  // namespace

struct H264Encoder::Implementation {
  explicit Implementation(const VideoInputSettings& settings)
      : parameters(quillant::parameters(settings)), encoder(x264_encoder_open(&parameters)) {
    if (!encoder)
      throw MediaError(MediaError::Kind::codec, "the H.264 encoder cannot be opened with these settings");
  }
  ~Implementation() { x264_encoder_close(encoder); }
  Implementation(const Implementation&) = delete;
  Implementation& operator=(const Implementation&) = delete;

  x264_param_t parameters;
  x264_t* encoder;
  std::size_t preset = 0;
};

H264Encoder::H264Encoder(const VideoInputSettings& settings)
    : implementation_(std::make_unique<Implementation>(settings)) {}
H264Encoder::~H264Encoder() = default;

std::vector<std::uint8_t> H264Encoder::configuration() const {
  x264_nal_t* nals = nullptr;
  int count = 0;
  if (x264_encoder_headers(implementation_->encoder, &nals, &count) < 0)
    throw MediaError(MediaError::Kind::codec, "the H.264 encoder gives no headers");
  std::vector<std::uint8_t> result;
  const auto appendSet = [&](int type) {
    for (const auto& nal : std::span(nals, static_cast<std::size_t>(count))) {
      if (nal.i_type != type) continue;
      // A length of four bytes stands before each unit; the record has one of two bytes.
      const std::span unit(nal.p_payload + 4, static_cast<std::size_t>(nal.i_payload - 4));
      if (type == NAL_SPS) result = {1, unit[1], unit[2], unit[3], 0xFF, 0xE0};
      result.back() = static_cast<std::uint8_t>(result.back() + 1);
      result.push_back(static_cast<std::uint8_t>(unit.size() >> 8));
      result.push_back(static_cast<std::uint8_t>(unit.size()));
      result.insert(result.end(), unit.begin(), unit.end());
    }
  };
  appendSet(NAL_SPS);
  result.push_back(0);
  appendSet(NAL_PPS);
  // What a record of the High profile ends with: 4:2:0, 8 bits a sample, no extension.
  constexpr std::uint8_t high = 100;
  if (result[1] == high) result.insert(result.end(), {0xFD, 0xF8, 0xF8, 0});
  return result;
}

EncodedPacket H264Encoder::encode(const EncoderPicture& picture, std::int64_t time, Frame frame,
                                  int quantizer) {
  x264_picture_t input;
  x264_picture_init(&input);
  input.i_type = frame == Frame::key ? X264_TYPE_IDR : X264_TYPE_AUTO;
  input.i_qpplus1 = quantizer + 1;
  input.i_pts = time;
  input.img.i_csp = X264_CSP_I420;
  input.img.i_plane = 3;
  for (std::size_t plane = 0; plane < 3; ++plane) {
    input.img.plane[plane] = picture.planes[plane].data;
    input.img.i_stride[plane] = picture.planes[plane].stride;
  }
  static_assert(X264_MBINFO_CONSTANT == 1, "what PictureConverter writes");
  // Read only, although declared otherwise: updates are not asked for.
  input.prop.mb_info = const_cast<std::uint8_t*>(picture.constantBlocks.data());

  x264_nal_t* nals = nullptr;
  int count = 0;
  x264_picture_t output;
  const int size = x264_encoder_encode(implementation_->encoder, &nals, &count, &input, &output);
  if (size <= 0) throw MediaError(MediaError::Kind::codec, "the H.264 encoder failed");
  EncodedPacket packet;
  packet.data.assign(nals[0].p_payload, nals[0].p_payload + size);
  packet.time = output.i_pts;
  packet.isKeyFrame = output.b_keyframe != 0;
  return packet;
}

bool H264Encoder::makeFaster() {
  auto& self = *implementation_;
  if (self.preset + 1 == presets.size()) return false;
  ++self.preset;
  x264_param_t faster;
  x264_param_default_preset(&faster, presets[self.preset], "zerolatency");
  // Entropy coding and the transform stand in the headers and stay; what the analysis does may change.
  auto& analysis = self.parameters.analyse;
  analysis.i_me_method = faster.analyse.i_me_method;
  analysis.i_subpel_refine = faster.analyse.i_subpel_refine;
  analysis.inter = faster.analyse.inter;
  analysis.intra = faster.analyse.intra;
  analysis.i_trellis = faster.analyse.i_trellis;
  analysis.b_mixed_references = faster.analyse.b_mixed_references;
  self.parameters.b_deblocking_filter = faster.b_deblocking_filter;
  return x264_encoder_reconfig(self.encoder, &self.parameters) == 0;
}

}  // namespace quillant
