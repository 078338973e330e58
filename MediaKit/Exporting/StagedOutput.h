#pragma once

// Internal to this folder's sources.

#include <cstdint>
#include <exception>
#include <filesystem>

#include "Core/StagedFile.h"
#include "MediaKit/FFmpegHandles.h"

namespace quillant {

/// A muxer of FFmpeg that writes into a staged file. Errors of the disk come out as `FileError`, whatever
/// FFmpeg makes of them.
class StagedOutput {
 public:
  /// `format` is FFmpeg's name of the container, `mode` that of `StagedFile`.
  StagedOutput(const std::filesystem::path& target, const char* format, unsigned mode = 0666);

  AVFormatContext& context() { return *context_; }
  /// Throws what the disk refused, else that `what` failed, if `code` is an error.
  int check(int code, std::string_view what);
  void publish();

 private:
  int write(const std::uint8_t* bytes, int count);
  std::int64_t seek(std::int64_t offset, int whence);
  template <typename Byte>
  static int writeBytes(void* opaque, Byte* bytes, int count) {
    return static_cast<StagedOutput*>(opaque)->write(bytes, count);
  }

  StagedFile file_;
  std::uint64_t position_ = 0;
  std::exception_ptr refused_;
  FFmpeg::IOContext io_;
  FFmpeg::OutputContext context_;
};

}  // namespace quillant
