#include "MediaKit/Reading/FrameGrabber.h"

#include <algorithm>
#include <libyuv.h>
#include <utility>

#include "MediaKit/Reading/MediaInput.h"

namespace quillant {

namespace {

using FFmpeg::check;

/// Decodes one video track forwards.
class VideoReader {
 public:
  explicit VideoReader(const std::filesystem::path& path) : input_(path) {
    auto& context = input_.context();
    const AVCodec* codec = nullptr;
    const int index = av_find_best_stream(&context, AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    if (index < 0) throw MediaError(MediaError::Kind::noVideoTrack, "the file has no video track");
    stream_ = context.streams[index];
    for (unsigned i = 0; i < context.nb_streams; ++i)
      if (int(i) != index) context.streams[i]->discard = AVDISCARD_ALL;
    decoder_.reset(check(avcodec_alloc_context3(codec)));
    check(avcodec_parameters_to_context(decoder_.get(), stream_->codecpar), "could not read the video track");
    decoder_->pkt_timebase = stream_->time_base;
    decoder_->thread_type = FF_THREAD_SLICE;  // threads by frame would hold frames back
    check(avcodec_open2(decoder_.get(), codec, nullptr), "could not open the video decoder");
  }

  const AVStream& stream() const { return *stream_; }
  std::int64_t ticks(MediaTime time) const {
    const auto& base = stream_->time_base;
    return time.converted(base.den).value / base.num;
  }
  MediaTime time(std::int64_t ticks) const {
    return {ticks * stream_->time_base.num, stream_->time_base.den};
  }

  /// Continues at the key frame at `ticks` or before it.
  void seek(std::int64_t ticks) {
    check(av_seek_frame(&input_.context(), stream_->index, ticks, AVSEEK_FLAG_BACKWARD),
          "could not seek in the video", MediaError::Kind::noFrame);
  }

  /// Where what was read so far ends.
  std::int64_t end() const { return end_; }

  /// The next frame in the order they are shown; none at the end. What does not decode is passed over.
  FFmpeg::Frame next() {
    FFmpeg::Frame frame(check(av_frame_alloc()));
    for (;;) {
      const int code = avcodec_receive_frame(decoder_.get(), frame.get());
      if (code == 0) return frame;
      if (code == AVERROR_EOF) return nullptr;
      if (av_read_frame(&input_.context(), packet_.get()) < 0) {
        avcodec_send_packet(decoder_.get(), nullptr);
        continue;
      }
      if (packet_->stream_index == stream_->index) {
        if (packet_->pts != AV_NOPTS_VALUE) end_ = std::max(end_, packet_->pts + packet_->duration);
        avcodec_send_packet(decoder_.get(), packet_.get());
      }
      av_packet_unref(packet_.get());
    }
  }

 private:
  MediaInput input_;
  AVStream* stream_ = nullptr;
  FFmpeg::CodecContext decoder_;
  FFmpeg::Packet packet_{check(av_packet_alloc())};
  std::int64_t end_ = 0;
};

std::int64_t startOf(const AVFrame& frame) {
  return frame.best_effort_timestamp == AV_NOPTS_VALUE ? 0 : frame.best_effort_timestamp;
}

FFmpeg::Frame find(VideoReader& reader, MediaTime time, const FrameGrabOptions& options) {
  const auto wanted = reader.ticks(time);
  const auto earliest = reader.ticks(time - options.toleranceBefore);
  if (wanted > 0) reader.seek(wanted);
  FFmpeg::Frame shown;
  while (auto frame = reader.next()) {
    const auto start = startOf(*frame);
    if (start > wanted) {
      if (shown) return shown;
      if (start <= reader.ticks(time + options.toleranceAfter)) return frame;
      break;
    }
    if (start >= earliest) return frame;
    shown = std::move(frame);
  }
  // The last frame is shown for as long as the file says.
  if (shown && wanted < std::max(reader.end(), startOf(*shown) + 1)) return shown;
  throw MediaError(MediaError::Kind::noFrame, "the video shows nothing at this time");
}

std::shared_ptr<PixelBuffer> makeBGRA(int width, int height) {
  auto memory = std::make_shared<std::vector<std::uint8_t>>(static_cast<std::size_t>(width) * height * 4);
  auto buffer = std::make_shared<PixelBuffer>();
  buffer->width = width;
  buffer->height = height;
  buffer->planes[0] = {memory->data(), width * 4};
  buffer->memory = std::move(memory);
  return buffer;
}

std::pair<int, int> fitted(int width, int height, int maximumSide) {
  const int longest = std::max(width, height);
  if (maximumSide <= 0 || longest <= maximumSide) return {width, height};
  const auto side = [&](int value) {
    return std::max(1, static_cast<int>((std::int64_t{value} * maximumSide + longest / 2) / longest));
  };
  return {side(width), side(height)};
}

std::shared_ptr<PixelBuffer> toBGRA(const AVFrame& frame, int maximumSide) {
  const auto [width, height] = fitted(frame.width, frame.height, maximumSide);
  const FFmpeg::Scaler scaler(check(sws_getContext(
      frame.width, frame.height, static_cast<AVPixelFormat>(frame.format), width, height, AV_PIX_FMT_BGRA,
      SWS_AREA | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr, nullptr, nullptr)));
  // What is not tagged was written by a camera: BT.709, as this system writes it.
  const int matrix = frame.colorspace == AVCOL_SPC_UNSPECIFIED ? SWS_CS_ITU709 : frame.colorspace;
  const auto* coefficients = sws_getCoefficients(matrix);
  sws_setColorspaceDetails(scaler.get(), coefficients, frame.color_range == AVCOL_RANGE_JPEG, coefficients, 1,
                           0, 1 << 16, 1 << 16);
  auto picture = makeBGRA(width, height);
  sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, &picture->planes[0].data,
            &picture->planes[0].stride);
  return picture;
}

std::shared_ptr<PixelBuffer> turned(std::shared_ptr<PixelBuffer> picture, int rotation) {
  if (rotation == 0) return picture;
  const bool sideways = rotation != 180;
  auto result =
      makeBGRA(sideways ? picture->height : picture->width, sideways ? picture->width : picture->height);
  libyuv::ARGBRotate(picture->planes[0].data, picture->planes[0].stride, result->planes[0].data,
                     result->planes[0].stride, picture->width, picture->height,
                     static_cast<libyuv::RotationMode>(rotation));
  return result;
}

}  // namespace

GrabbedFrame FrameGrabber::grab(const std::filesystem::path& path, MediaTime time,
                                const FrameGrabOptions& options) {
  VideoReader reader(path);
  const auto frame = find(reader, time, options);
  return {turned(toBGRA(*frame, options.maximumSide), MediaInput::rotation(reader.stream())),
          reader.time(startOf(*frame))};
}

}  // namespace quillant
