#include "MediaKit/Reading/MediaInput.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

extern "C" {
#include <libavutil/display.h>
}

#include "Core/AtomicFile.h"
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

bool hasIndex(const AVFormatContext& context) {
  return std::string_view(context.iformat->name).find("mov") != std::string_view::npos;
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

int MediaInput::rotation(const AVStream& stream) {
  const auto* matrix = displayMatrix(stream);
  if (!matrix) return 0;
  const double counterclockwise = av_display_rotation_get(matrix);
  if (std::isnan(counterclockwise)) return 0;
  const int quarters = static_cast<int>(std::lround(-counterclockwise / 90));
  return ((quarters % 4) + 4) % 4 * 90;
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
