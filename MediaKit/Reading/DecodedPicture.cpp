#include "MediaKit/Reading/DecodedPicture.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace quillant::DecodedPicture {

namespace {

using FFmpeg::check;

/// The first format for each of ours is what it is written back as.
constexpr std::pair<AVPixelFormat, PixelFormat> formats[] = {
    {AV_PIX_FMT_YUV420P, PixelFormat::i420},      {AV_PIX_FMT_YUVJ420P, PixelFormat::i420},
    {AV_PIX_FMT_YUV422P, PixelFormat::i422},      {AV_PIX_FMT_YUVJ422P, PixelFormat::i422},
    {AV_PIX_FMT_YUV444P, PixelFormat::i444},      {AV_PIX_FMT_YUVJ444P, PixelFormat::i444},
    {AV_PIX_FMT_YUV420P10, PixelFormat::i420x10}, {AV_PIX_FMT_YUV422P10, PixelFormat::i422x10},
    {AV_PIX_FMT_YUV444P10, PixelFormat::i444x10}, {AV_PIX_FMT_BGRA, PixelFormat::bgra},
    {AV_PIX_FMT_BGR0, PixelFormat::bgra}};

std::optional<PixelFormat> ours(int format) {
  for (const auto& [theirs, known] : formats)
    if (theirs == format) return known;
  return std::nullopt;
}

/// The format of ours that loses least of another one.
AVPixelFormat nearest(const AVPixFmtDescriptor& format) {
  if (format.flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) return AV_PIX_FMT_BGRA;
  const bool isDeep = format.comp[0].depth > 8;
  if (format.nb_components < 3) return isDeep ? AV_PIX_FMT_YUV420P10 : AV_PIX_FMT_YUV420P;
  if (format.log2_chroma_w == 0) return isDeep ? AV_PIX_FMT_YUV444P10 : AV_PIX_FMT_YUV444P;
  if (format.log2_chroma_h == 0) return isDeep ? AV_PIX_FMT_YUV422P10 : AV_PIX_FMT_YUV422P;
  return isDeep ? AV_PIX_FMT_YUV420P10 : AV_PIX_FMT_YUV420P;
}

bool isFullRange(const AVFrame& frame) {
  return frame.color_range == AVCOL_RANGE_JPEG || frame.format == AV_PIX_FMT_YUVJ420P ||
         frame.format == AV_PIX_FMT_YUVJ422P || frame.format == AV_PIX_FMT_YUVJ444P;
}

ColorEncoding colorOf(const AVFrame& frame) {
  ColorEncoding color;
  switch (frame.colorspace) {
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
    case AVCOL_SPC_FCC:
      color.matrix = ColorEncoding::Matrix::bt601;
      break;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
    case AVCOL_SPC_ICTCP:
      throw MediaError(MediaError::Kind::codec,
                       "videos with the wide colours of BT.2020 (HDR) are not supported");
    default:
      break;  // what is not tagged is BT.709, as this system writes it
  }
  if (isFullRange(frame)) color.range = ColorEncoding::Range::full;
  if (frame.chroma_location == AVCHROMA_LOC_CENTER)
    color.chromaSite = ColorEncoding::ChromaSite::center;
  else if (frame.chroma_location == AVCHROMA_LOC_TOPLEFT)
    color.chromaSite = ColorEncoding::ChromaSite::topLeft;
  return color;
}

FFmpeg::Frame converted(const AVFrame& frame) {
  const auto* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
  if (!description) throw MediaError(MediaError::Kind::codec, "the video has pictures of an unknown format");
  FFmpeg::Frame result(check(av_frame_alloc()));
  result->format = nearest(*description);
  result->width = frame.width;
  result->height = frame.height;
  check(av_frame_get_buffer(result.get(), 0), "could not convert a picture");
  check(av_frame_copy_props(result.get(), &frame), "could not convert a picture");
  const FFmpeg::Scaler scaler(
      check(sws_getContext(frame.width, frame.height, static_cast<AVPixelFormat>(frame.format), frame.width,
                           frame.height, static_cast<AVPixelFormat>(result->format),
                           SWS_BILINEAR | SWS_ACCURATE_RND, nullptr, nullptr, nullptr)));
  // The numbers keep their range: only their layout changes.
  const auto* coefficients = sws_getCoefficients(SWS_CS_ITU709);
  const int range = isFullRange(frame);
  sws_setColorspaceDetails(scaler.get(), coefficients, range, coefficients, range, 0, 1 << 16, 1 << 16);
  sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, result->data, result->linesize);
  return result;
}

struct PlaneLayout {
  int shiftX = 0;
  int shiftY = 0;
  int bytes = 1;  ///< A sample.
};

std::vector<PlaneLayout> layout(PixelFormat format) {
  switch (format) {
    case PixelFormat::bgra:
    case PixelFormat::premultipliedBGRA:
      return {{0, 0, 4}};
    case PixelFormat::i420:
      return {{0, 0, 1}, {1, 1, 1}, {1, 1, 1}};
    case PixelFormat::i422:
      return {{0, 0, 1}, {1, 0, 1}, {1, 0, 1}};
    case PixelFormat::i444:
      return {{0, 0, 1}, {0, 0, 1}, {0, 0, 1}};
    case PixelFormat::i420x10:
      return {{0, 0, 2}, {1, 1, 2}, {1, 1, 2}};
    case PixelFormat::i422x10:
      return {{0, 0, 2}, {1, 0, 2}, {1, 0, 2}};
    case PixelFormat::i444x10:
      return {{0, 0, 2}, {0, 0, 2}, {0, 0, 2}};
  }
  return {};
}

bool differ(const PixelBuffer& before, const PixelBuffer& after, const std::vector<PlaneLayout>& planes,
            const PixelRect& rect) {
  for (std::size_t i = 0; i < planes.size(); ++i) {
    const auto& [shiftX, shiftY, bytes] = planes[i];
    const int left = rect.x >> shiftX, right = (rect.x + rect.width + (1 << shiftX) - 1) >> shiftX;
    const int top = rect.y >> shiftY, bottom = (rect.y + rect.height + (1 << shiftY) - 1) >> shiftY;
    for (int y = top; y < bottom; ++y) {
      const auto at = [&](const PixelBuffer::Plane& plane) {
        return plane.data + static_cast<std::ptrdiff_t>(plane.stride) * y +
               static_cast<std::ptrdiff_t>(left) * bytes;
      };
      if (std::memcmp(at(before.planes[i]), at(after.planes[i]),
                      static_cast<std::size_t>((right - left) * bytes)) != 0)
        return true;
    }
  }
  return false;
}

}  // namespace

std::shared_ptr<PixelBuffer> make(const AVFrame& frame) {
  FFmpeg::Frame held;
  if (ours(frame.format))
    held.reset(check(av_frame_clone(&frame)));
  else
    held = converted(frame);
  auto picture = std::make_shared<PixelBuffer>();
  picture->format = *ours(held->format);
  picture->color = colorOf(*held);
  picture->width = held->width;
  picture->height = held->height;
  for (std::size_t i = 0; i < layout(picture->format).size(); ++i)
    picture->planes[i] = {held->data[i], held->linesize[i]};
  picture->memory =
      std::shared_ptr<AVFrame>(held.release(), [](AVFrame* released) { av_frame_free(&released); });
  return picture;
}

AVPixelFormat formatOf(const PixelBuffer& picture) {
  for (const auto& [theirs, known] : formats)
    if (known == picture.format) return theirs;
  return AV_PIX_FMT_NONE;
}

std::vector<PixelRect> differences(const PixelBuffer& before, const PixelBuffer& after) {
  // As wide and high as what an encoder and a compositor look at.
  constexpr int tileWidth = 64;
  constexpr int tileHeight = 16;
  const auto planes = layout(after.format);
  std::vector<PixelRect> found;
  std::vector<PixelRect> row;
  for (int y = 0; y < after.height; y += tileHeight) {
    const int height = std::min(tileHeight, after.height - y);
    // Most strips of a screen stand still: looked at as a whole they are read in order.
    if (!differ(before, after, planes, {0, y, after.width, height})) continue;
    row.clear();
    for (int x = 0; x < after.width; x += tileWidth) {
      const PixelRect tile{x, y, std::min(tileWidth, after.width - x), height};
      if (!differ(before, after, planes, tile)) continue;
      if (!row.empty() && row.back().x + row.back().width == x)
        row.back().width += tile.width;
      else
        row.push_back(tile);
    }
    for (const auto& run : row) {
      const auto above = std::ranges::find_if(found, [&](const PixelRect& rect) {
        return rect.x == run.x && rect.width == run.width && rect.y + rect.height == y;
      });
      if (above == found.end())
        found.push_back(run);
      else
        above->height += run.height;
    }
  }
  return found;
}

}  // namespace quillant::DecodedPicture
