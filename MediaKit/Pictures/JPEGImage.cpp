#include "MediaKit/Pictures/JPEGImage.h"

#include <algorithm>
#include <libyuv.h>

#include "MediaKit/FFmpegHandles.h"

namespace quillant {

std::vector<std::uint8_t> JPEGImage::encode(const PixelBuffer& picture, int quality) {
  using FFmpeg::check;
  const FFmpeg::CodecContext codec(check(avcodec_alloc_context3(avcodec_find_encoder(AV_CODEC_ID_MJPEG))));
  codec->width = picture.width;
  codec->height = picture.height;
  codec->pix_fmt = AV_PIX_FMT_YUVJ420P;
  codec->color_range = AVCOL_RANGE_JPEG;
  codec->time_base = {1, 1};
  // The encoder counts from 2, best, to 31.
  const int quantizer = 2 + (100 - std::clamp(quality, 1, 100)) * 29 / 99;
  codec->flags |= AV_CODEC_FLAG_QSCALE;
  codec->global_quality = quantizer * FF_QP2LAMBDA;
  check(avcodec_open2(codec.get(), nullptr, nullptr), "could not open the JPEG encoder");

  const FFmpeg::Frame frame(check(av_frame_alloc()));
  frame->width = picture.width;
  frame->height = picture.height;
  frame->format = codec->pix_fmt;
  frame->quality = codec->global_quality;
  check(av_frame_get_buffer(frame.get(), 0), "could not encode a JPEG picture");
  libyuv::ARGBToJ420(picture.planes[0].data, picture.planes[0].stride, frame->data[0], frame->linesize[0],
                     frame->data[1], frame->linesize[1], frame->data[2], frame->linesize[2], picture.width,
                     picture.height);

  const FFmpeg::Packet packet(check(av_packet_alloc()));
  check(avcodec_send_frame(codec.get(), frame.get()), "could not encode a JPEG picture");
  check(avcodec_receive_packet(codec.get(), packet.get()), "could not encode a JPEG picture");
  return {packet->data, packet->data + packet->size};
}

}  // namespace quillant
