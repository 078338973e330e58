#include "MediaKit/Exporting/GIFFileWriter.h"

#include <algorithm>
#include <cstring>
#include <libyuv.h>
#include <optional>
#include <vector>

#include "MediaKit/Exporting/ColorPalette.h"
#include "MediaKit/Exporting/StagedOutput.h"

namespace quillant {

namespace {

using FFmpeg::check;

/// Pixels that are looked at to choose colours: all of a small picture, fewer of a large one.
constexpr std::size_t sampledPixels = 100'000;
/// A palette is chosen anew when its error has grown by this factor, and by this much.
constexpr double errorFactor = 1.5;
constexpr double errorMargin = 4;
constexpr AVRational hundredths{1, 100};

}  // namespace

struct GIFFileWriter::Implementation {
  Implementation(const std::filesystem::path& target, int wantedWidth, int wantedHeight)
      : output(target, "gif"),
        width(wantedWidth),
        height(wantedHeight),
        pixels(static_cast<std::size_t>(width) * height),
        step(std::max<std::size_t>(1, pixels.size() / sampledPixels) | 1) {}

  void choosePalette();
  void encode(const AVFrame* frame);

  StagedOutput output;
  bool hasTrailer = false;
  int width;
  int height;
  AVStream* stream = nullptr;
  FFmpeg::CodecContext encoder;
  FFmpeg::Packet packet{check(av_packet_alloc())};
  std::vector<std::uint32_t> pixels;
  std::size_t step;
  std::optional<ColorPalette> palette;
  std::int64_t lastTime = 0;  ///< Since when the last picture is shown.
  double paletteError = 0;    ///< Of the picture that the palette was chosen for.
};

void GIFFileWriter::Implementation::choosePalette() {
  if (palette) {
    const double error = palette->error(pixels, step);
    if (error <= paletteError * errorFactor + errorMargin) return;
  }
  palette.emplace(pixels, step);
  paletteError = palette->error(pixels, step);
}

void GIFFileWriter::Implementation::encode(const AVFrame* frame) {
  check(avcodec_send_frame(encoder.get(), frame), "could not encode a picture");
  while (avcodec_receive_packet(encoder.get(), packet.get()) == 0) {
    packet->stream_index = stream->index;
    av_packet_rescale_ts(packet.get(), hundredths, stream->time_base);
    output.check(av_write_frame(&output.context(), packet.get()), "could not write a picture");
    av_packet_unref(packet.get());
  }
}

GIFFileWriter::GIFFileWriter(const std::filesystem::path& target, int width, int height, Playing playing)
    : implementation_(std::make_unique<Implementation>(target, width, height)) {
  auto& self = *implementation_;
  self.encoder.reset(check(avcodec_alloc_context3(avcodec_find_encoder(AV_CODEC_ID_GIF))));
  self.encoder->width = width;
  self.encoder->height = height;
  self.encoder->pix_fmt = AV_PIX_FMT_PAL8;
  self.encoder->time_base = hundredths;
  check(avcodec_open2(self.encoder.get(), nullptr, nullptr), "could not open the GIF encoder");
  auto& context = self.output.context();
  self.stream = check(avformat_new_stream(&context, nullptr));
  self.stream->time_base = hundredths;
  check(avcodec_parameters_from_context(self.stream->codecpar, self.encoder.get()),
        "could not describe the pictures");
  AVDictionary* options = nullptr;
  av_dict_set_int(&options, "loop", playing == Playing::forEver ? 0 : -1, 0);
  av_dict_set(&options, "final_delay", "-1", 0);
  const int result = avformat_write_header(&context, &options);
  av_dict_free(&options);
  self.output.check(result, "could not start the file");
}
GIFFileWriter::~GIFFileWriter() {
  // The muxer keeps the last picture until its trailer.
  if (implementation_ && !implementation_->hasTrailer) av_write_trailer(&implementation_->output.context());
}

void GIFFileWriter::write(const PixelBuffer& picture, std::int64_t time) {
  auto& self = *implementation_;
  const auto& planes = picture.planes;
  libyuv::I420ToARGBMatrix(planes[0].data, planes[0].stride, planes[1].data, planes[1].stride, planes[2].data,
                           planes[2].stride, reinterpret_cast<std::uint8_t*>(self.pixels.data()),
                           self.width * 4, &libyuv::kYuvH709Constants, self.width, self.height);
  self.choosePalette();

  const FFmpeg::Frame frame(check(av_frame_alloc()));
  frame->format = AV_PIX_FMT_PAL8;
  frame->width = self.width;
  frame->height = self.height;
  check(av_frame_get_buffer(frame.get(), 0), "could not encode a picture");
  const auto colors = self.palette->colors();
  auto* table = reinterpret_cast<std::uint32_t*>(frame->data[1]);
  // The last entry is transparent: what did not change is stored as that.
  std::fill_n(table, AVPALETTE_COUNT, 0x00FFFFFFU);
  std::ranges::copy(colors, table);
  for (int y = 0; y < self.height; ++y) {
    const auto* from = self.pixels.data() + static_cast<std::ptrdiff_t>(y) * self.width;
    auto* to = frame->data[0] + static_cast<std::ptrdiff_t>(y) * frame->linesize[0];
    std::uint32_t last = from[0];
    auto index = self.palette->nearest(last);
    for (int x = 0; x < self.width; ++x) {
      if (from[x] != last) index = self.palette->nearest(last = from[x]);
      to[x] = index;
    }
  }
  frame->pts = self.lastTime = time;
  self.encode(frame.get());
}

void GIFFileWriter::finish(std::int64_t end) {
  auto& self = *implementation_;
  av_opt_set_int(self.output.context().priv_data, "final_delay",
                 std::clamp<std::int64_t>(end - self.lastTime, 1, 65'535), 0);
  self.encode(nullptr);
  self.hasTrailer = true;
  self.output.check(av_write_trailer(&self.output.context()), "could not finish the file");
  self.output.publish();
}

}  // namespace quillant
