#include "MediaKit/Exporting/StagedOutput.h"

#include <utility>

namespace quillant {

namespace {

constexpr int bufferSize = 256 * 1024;

}  // namespace

StagedOutput::StagedOutput(const std::filesystem::path& target, const char* format, unsigned mode)
    : file_(target, mode) {
  auto* buffer = static_cast<std::uint8_t*>(FFmpeg::check(av_malloc(bufferSize)));
  io_.reset(FFmpeg::check(avio_alloc_context(
      buffer, bufferSize, 1, this, nullptr, &writeBytes, [](void* opaque, std::int64_t offset, int whence) {
        return static_cast<StagedOutput*>(opaque)->seek(offset, whence);
      })));
  AVFormatContext* context = nullptr;
  // An index that is put in front moves what was written: the muxer reads it again under this name.
  FFmpeg::check(avformat_alloc_output_context2(&context, nullptr, format, file_.readablePath().c_str()),
                "could not make a muxer");
  context_.reset(context);
  context_->pb = io_.get();
  context_->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_BITEXACT;
}

int StagedOutput::write(const std::uint8_t* bytes, int count) {
  try {
    file_.write(position_, {bytes, static_cast<std::size_t>(count)});
  } catch (...) {
    // FFmpeg's own functions stand between here and who asked.
    if (!refused_) refused_ = std::current_exception();
    return AVERROR(EIO);
  }
  position_ += static_cast<std::uint64_t>(count);
  return count;
}

std::int64_t StagedOutput::seek(std::int64_t offset, int whence) {
  if (whence == AVSEEK_SIZE) return static_cast<std::int64_t>(file_.size());
  if (whence == SEEK_CUR) offset += static_cast<std::int64_t>(position_);
  if (whence == SEEK_END) offset += static_cast<std::int64_t>(file_.size());
  if (offset < 0) return AVERROR(EINVAL);
  position_ = static_cast<std::uint64_t>(offset);
  return offset;
}

int StagedOutput::check(int code, std::string_view what) {
  if (refused_) std::rethrow_exception(std::exchange(refused_, nullptr));
  return FFmpeg::check(code, what);
}

void StagedOutput::publish() {
  avio_flush(io_.get());
  check(io_->error, "could not write the file");
  file_.publish();
}

}  // namespace quillant
