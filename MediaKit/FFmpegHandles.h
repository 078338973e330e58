#pragma once

// Owners for FFmpeg's objects. For the sources of this folder and of the cameras: no public header includes
// it.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <fmt/format.h>
#include <memory>
#include <string_view>

#include "MediaKit/MediaError.h"

namespace quillant::FFmpeg {

/// FFmpeg reports to standard error on its own; what matters comes back as an error code and is thrown.
inline const int logLevel = [] {
  av_log_set_level(AV_LOG_FATAL);
  return AV_LOG_FATAL;
}();

/// Calls a function that takes the address of the pointer, as most of FFmpeg's destructors do.
template <auto release>
struct ReleaseByAddress {
  template <class T>
  void operator()(T* object) const {
    release(&object);
  }
};
template <auto release>
struct Release {
  template <class T>
  void operator()(T* object) const {
    release(object);
  }
};

using CodecContext = std::unique_ptr<AVCodecContext, ReleaseByAddress<avcodec_free_context>>;
using Packet = std::unique_ptr<AVPacket, ReleaseByAddress<av_packet_free>>;
using Frame = std::unique_ptr<AVFrame, ReleaseByAddress<av_frame_free>>;
using Resampler = std::unique_ptr<SwrContext, ReleaseByAddress<swr_free>>;
using Scaler = std::unique_ptr<SwsContext, Release<sws_freeContext>>;
using InputContext = std::unique_ptr<AVFormatContext, ReleaseByAddress<avformat_close_input>>;
using OutputContext = std::unique_ptr<AVFormatContext, Release<avformat_free_context>>;

struct ReleaseIO {
  void operator()(AVIOContext* context) const {
    av_freep(&context->buffer);
    avio_context_free(&context);
  }
};
using IOContext = std::unique_ptr<AVIOContext, ReleaseIO>;

/// "could not open the AAC encoder: Invalid argument"
inline MediaError error(MediaError::Kind kind, std::string_view what, int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return {kind, fmt::format("{}: {}", what, text)};
}

inline int check(int code, std::string_view what, MediaError::Kind kind = MediaError::Kind::codec) {
  if (code < 0) throw error(kind, what, code);
  return code;
}

/// For allocations, which fail only when memory has run out.
template <class T>
T* check(T* object) {
  if (!object) throw std::bad_alloc();
  return object;
}

}  // namespace quillant::FFmpeg
