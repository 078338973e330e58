#include "MediaKit/Reading/MediaInput.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
extern "C" {
#include <libavutil/parseutils.h>
}
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "Core/AtomicFile.h"
#include "Core/FileDescriptor.h"
#include "MediaKit/Reading/MovieFragments.h"

namespace quillant {

namespace {

/// How the stream's pictures are to be turned, nine numbers; none for as they are.
const std::int32_t* displayMatrix(const AVStream& stream) {
#if LIBAVFORMAT_VERSION_INT >= AV_VERSION_INT(60, 16, 100)  // FFmpeg 6.1
  const auto& parameters = *stream.codecpar;
  const auto* found = av_packet_side_data_get(parameters.coded_side_data, parameters.nb_coded_side_data,
                                              AV_PKT_DATA_DISPLAYMATRIX);
  const void* data = found ? found->data : nullptr;
#else
  const void* data = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
#endif
  return static_cast<const std::int32_t*>(data);
}

/// The nearest of the eight ways in which a picture can be turned by quarters and mirrored.
AffineTransform orientation(const AVStream& stream) {
  const auto* matrix = displayMatrix(stream);
  if (!matrix) return {};
  const auto sign = [](std::int32_t value) { return value < 0 ? -1.0 : 1.0; };
  const auto [a, b, c, d] = std::array{matrix[0], matrix[1], matrix[3], matrix[4]};
  const auto size = [](std::int32_t value) { return std::abs(std::int64_t{value}); };
  if (size(a) + size(d) >= size(b) + size(c)) return {.a = sign(a), .b = 0, .c = 0, .d = sign(d)};
  return {.a = 0, .b = sign(b), .c = sign(c), .d = 0};
}

}  // namespace

struct MediaInput::View {
  std::filesystem::path path;
  FileDescriptor file;
  std::int64_t size = 0;
  std::int64_t end = 0;  ///< Where the file seems to end.
  std::int64_t position = 0;

  static int read(void* opaque, std::uint8_t* bytes, int count) {
    auto& view = *static_cast<View*>(opaque);
    const auto wanted = std::min<std::int64_t>(count, view.end - view.position);
    if (wanted <= 0) return AVERROR_EOF;
    const auto done = ::pread(view.file.get(), bytes, static_cast<std::size_t>(wanted), view.position);
    if (done < 0) return AVERROR(errno);
    if (done == 0) return AVERROR(EIO);  // the file has become shorter
    view.position += done;
    return static_cast<int>(done);
  }

  static std::int64_t seek(void* opaque, std::int64_t offset, int whence) {
    auto& view = *static_cast<View*>(opaque);
    if (whence == AVSEEK_SIZE) return view.end;
    if (whence == SEEK_CUR) offset += view.position;
    if (whence == SEEK_END) offset += view.end;
    if (offset < 0) return AVERROR(EINVAL);
    return view.position = offset;
  }
};

namespace {

constexpr int bufferSize = 64 * 1024;
/// Frames that are further apart, in seconds, stand still.
constexpr double longestGridInterval = 0.15;
/// Fewer intervals in a row are near one another by chance: a click in between two repeats, a last picture.
constexpr std::ptrdiff_t shortestStretch = 3;
/// What cameras, screens and editors use.
constexpr double usualRates[] = {10, 12, 15, 20, 24, 25, 30, 48, 50, 60, 90, 120, 144, 240};
/// A recorder that is kept from its work is late more often than early, by this part of its rate.
constexpr double snapTolerance = 0.06;

bool hasIndex(const AVFormatContext& context) {
  return std::string_view(context.iformat->name).find("mov") != std::string_view::npos;
}

/// Between the frames that an index tells of; none where it tells of keyframes only.
std::vector<std::int64_t> indexedIntervals(const AVStream& stream) {
  std::vector<std::int64_t> intervals;
  const int count = avformat_index_get_entries_count(&stream);
  if (count < stream.nb_frames) return intervals;
  for (int i = 1; i < count; ++i) {
    const auto* before = avformat_index_get_entry(const_cast<AVStream*>(&stream), i - 1);
    const auto* entry = avformat_index_get_entry(const_cast<AVStream*>(&stream), i);
    if (before && entry) intervals.push_back(entry->timestamp - before->timestamp);
  }
  return intervals;
}

}  // namespace

MediaInput::MediaInput(const std::filesystem::path& path, Extent extent) : view_(std::make_unique<View>()) {
  view_->path = path;
  view_->file = FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  if (!view_->file || ::fstat(view_->file.get(), &status) != 0)
    throw FileError("open", path, {errno, std::generic_category()});
  view_->size = status.st_size;
  movie_ = MovieFragments::find(file());
  if (!movie_)
    view_->end = view_->size;
  else if (extent == Extent::head)
    view_->end = static_cast<std::int64_t>(movie_->movie.end);
  else
    view_->end = static_cast<std::int64_t>(MovieFragments::visit(file(), *movie_, [](const auto&) {}));

  auto* buffer = static_cast<std::uint8_t*>(FFmpeg::check(av_malloc(bufferSize)));
  io_.reset(FFmpeg::check(
      avio_alloc_context(buffer, bufferSize, 0, view_.get(), &View::read, nullptr, &View::seek)));
  AVFormatContext* context = FFmpeg::check(avformat_alloc_context());
  context->pb = io_.get();
  context->flags |= AVFMT_FLAG_CUSTOM_IO;
  // Frees the context when it fails.
  FFmpeg::check(avformat_open_input(&context, path.filename().c_str(), nullptr, nullptr),
                "the file is no video or sound that can be read", MediaError::Kind::unreadable);
  context_.reset(context);
}

MediaInput::~MediaInput() = default;

bool MediaInput::isMedia(const AVStream& stream) {
  const auto type = stream.codecpar->codec_type;
  return type == AVMEDIA_TYPE_AUDIO ||
         (type == AVMEDIA_TYPE_VIDEO && (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0);
}

void MediaInput::copyOrientation(const AVStream& from, AVStream& to) {
  const auto* matrix = displayMatrix(from);
  if (!matrix) return;
  constexpr std::size_t size = 9 * sizeof *matrix;
#if LIBAVFORMAT_VERSION_INT >= AV_VERSION_INT(60, 16, 100)
  auto& parameters = *to.codecpar;
  if (av_packet_side_data_get(parameters.coded_side_data, parameters.nb_coded_side_data,
                              AV_PKT_DATA_DISPLAYMATRIX))
    return;  // copied with the parameters
  auto* added = av_packet_side_data_new(&parameters.coded_side_data, &parameters.nb_coded_side_data,
                                        AV_PKT_DATA_DISPLAYMATRIX, size, 0);
  if (added) std::memcpy(added->data, matrix, size);
#else
  if (auto* data = av_stream_new_side_data(&to, AV_PKT_DATA_DISPLAYMATRIX, size))
    std::memcpy(data, matrix, size);
#endif
}

AVStream* MediaInput::choose(MediaTrack::Kind kind, int index) {
  describeStreams();
  const auto type = kind == MediaTrack::Kind::video ? AVMEDIA_TYPE_VIDEO : AVMEDIA_TYPE_AUDIO;
  AVStream* chosen = nullptr;
  for (unsigned i = 0; i < context_->nb_streams; ++i) {
    auto& stream = *context_->streams[i];
    if (stream.codecpar->codec_type == type && isMedia(stream) && index-- == 0)
      chosen = &stream;
    else
      stream.discard = AVDISCARD_ALL;
  }
  return chosen;
}

FFmpeg::CodecContext MediaInput::openDecoder(const AVStream& stream, int threads) {
  constexpr auto kind = MediaError::Kind::unreadable;
  const auto* codec = avcodec_find_decoder(stream.codecpar->codec_id);
  if (!codec) throw MediaError(kind, "there is no decoder for a track of the file");
  FFmpeg::CodecContext decoder(FFmpeg::check(avcodec_alloc_context3(codec)));
  FFmpeg::check(avcodec_parameters_to_context(decoder.get(), stream.codecpar), "could not read a track",
                kind);
  decoder->pkt_timebase = stream.time_base;
  decoder->thread_count = std::max(threads, 1);
  FFmpeg::check(avcodec_open2(decoder.get(), codec, nullptr), "could not open a decoder", kind);
  return decoder;
}

void MediaInput::seek(const AVStream& stream, std::int64_t ticks) {
  int code = av_seek_frame(context_.get(), stream.index, ticks, AVSEEK_FLAG_BACKWARD);
  // Some containers know no time before their first.
  if (code < 0) code = avformat_seek_file(context_.get(), stream.index, INT64_MIN, 0, INT64_MAX, 0);
  FFmpeg::check(code, "could not seek in the file", MediaError::Kind::unreadable);
}

MediaTime MediaInput::time(std::int64_t ticks, const AVStream& stream) {
  if (ticks == AV_NOPTS_VALUE || ticks <= 0) return MediaTime::zero();
  // Time bases are a fraction of a second in every container but a few odd ones.
  if (stream.time_base.num == 1) return {ticks, stream.time_base.den};
  return MediaTime::fromSeconds(static_cast<double>(ticks) * av_q2d(stream.time_base));
}

/// In Matroska a track has its length in a tag, or only the file has one.
std::int64_t MediaInput::duration(const AVStream& stream) const {
  if (stream.duration != AV_NOPTS_VALUE) return stream.duration;
  std::int64_t microseconds = context_->duration;
  const auto* tag = av_dict_get(stream.metadata, "DURATION", nullptr, 0);
  if (!tag || av_parse_time(&microseconds, tag->value, 1) < 0) microseconds = context_->duration;
  return microseconds == AV_NOPTS_VALUE ? microseconds
                                        : av_rescale_q(microseconds, {1, AV_TIME_BASE}, stream.time_base);
}

MediaTrack MediaInput::describe(const AVStream& stream) {
  const auto& parameters = *stream.codecpar;
  MediaTrack track;
  track.duration = time(duration(stream), stream);
  if (parameters.codec_type == AVMEDIA_TYPE_AUDIO) {
    track.kind = MediaTrack::Kind::audio;
    track.channels = parameters.ch_layout.nb_channels;
    track.sampleRate = parameters.sample_rate;
    return track;
  }
  track.naturalSize = {double(parameters.width), double(parameters.height)};
  const auto aspect = av_guess_sample_aspect_ratio(context_.get(), const_cast<AVStream*>(&stream), nullptr);
  const double wide = aspect.num > 0 && aspect.den > 0 ? av_q2d(aspect) : 1;
  const auto turned = AffineTransform::scale(wide, 1).then(orientation(stream));
  const auto bounds = turned.bounds({0, 0, track.naturalSize.width, track.naturalSize.height});
  track.upright = turned.then(AffineTransform::translation(-bounds.x, -bounds.y));
  track.displaySize = {bounds.width, bounds.height};
  const auto average = stream.avg_frame_rate;
  track.nominalFrameRate =
      gridRate(indexedIntervals(stream), stream, average.num > 0 && average.den > 0 ? av_q2d(average) : 0);
  return track;
}

double MediaInput::gridRate(const std::vector<std::int64_t>& intervals, const AVStream& stream,
                            double average) {
  const double tick = av_q2d(stream.time_base);
  const auto moves = [&](std::int64_t interval) {
    return interval > 0 && static_cast<double>(interval) * tick < longestGridInterval;
  };
  std::vector<std::int64_t> kept;
  for (auto first = intervals.begin(); first != intervals.end();) {
    first = std::find_if(first, intervals.end(), moves);
    const auto last = std::find_if_not(first, intervals.end(), moves);
    if (last - first >= shortestStretch) kept.insert(kept.end(), first, last);
    first = last;
  }
  double rate = average;
  if (!kept.empty()) {
    const auto middle = kept.begin() + static_cast<std::ptrdiff_t>(kept.size() / 2);
    std::ranges::nth_element(kept, middle);
    rate = std::max(average, 1 / (static_cast<double>(*middle) * tick));
  } else if (average * longestGridInterval < 1) {
    return 0;  // what stands still keeps no rate
  }
  const double nearest = *std::ranges::min_element(
      usualRates, {}, [rate](double usual) { return std::abs(usual - rate) / usual; });
  return std::abs(rate - nearest) < nearest * snapTolerance ? nearest : rate;
}

void MediaInput::describeStreams() {
  if (hasIndex(*context_)) return;
  FFmpeg::check(avformat_find_stream_info(context_.get(), nullptr), "the file could not be read",
                MediaError::Kind::unreadable);
}

std::int64_t MediaInput::zero(const AVStream& stream) const {
  const bool keepsZero =
      hasIndex(*context_) || std::string_view(context_->iformat->name).starts_with("matroska");
  if (keepsZero || context_->start_time == AV_NOPTS_VALUE) return 0;
  return std::max<std::int64_t>(0, av_rescale_q(context_->start_time, {1, AV_TIME_BASE}, stream.time_base));
}

MovieBoxes::File MediaInput::file() const {
  return {view_->file.get(), static_cast<std::uint64_t>(view_->size), view_->path};
}

}  // namespace quillant
