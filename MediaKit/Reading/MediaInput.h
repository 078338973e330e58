#pragma once

// Internal to this folder's sources.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include "MediaKit/FFmpegHandles.h"
#include "MediaKit/Reading/MediaTrack.h"
#include "MediaKit/Reading/MovieFragments.h"

namespace quillant {

/// A media file opened by FFmpeg that ends, for it, where what can be played ends: a torn fragment behind the
/// last whole one is not seen. Throws `MediaError` of kind unreadable, and `FileError` for a file that cannot
/// be opened or read.
class MediaInput {
 public:
  enum class Extent {
    playable,  ///< All that can be played.
    head,      ///< For a fragmented file no fragment: the description of its tracks only.
  };
  explicit MediaInput(const std::filesystem::path& path, Extent extent = Extent::playable);
  ~MediaInput();
  MediaInput(const MediaInput&) = delete;
  MediaInput& operator=(const MediaInput&) = delete;

  AVFormatContext& context() { return *context_; }
  /// Set if the media lies in fragments.
  const std::optional<MovieFragments::FragmentedMovie>& fragmentedMovie() const { return movie_; }
  MovieBoxes::File file() const;
  /// Movie files describe their tracks in an index; of others the beginning has to be read.
  void describeStreams();
  /// What counts as the file's zero, in a stream's ticks: streams that are made to be cut anywhere, and sound
  /// with an encoder's delay, begin later. Known once the streams are described.
  std::int64_t zero(const AVStream& stream) const;
  /// Whether a stream is video or sound; the cover picture of a music file is neither.
  static bool isMedia(const AVStream& stream);
  /// The first stream of this kind but `index` others; the demuxer drops what other streams hold. None if
  /// there is no such stream.
  AVStream* choose(MediaTrack::Kind kind, int index);
  /// For a stream that is media.
  static FFmpeg::CodecContext openDecoder(const AVStream& stream, int threads = 1);
  /// Has reading go on with the keyframe of `stream` that is stored at `ticks` or last before it. A decoder
  /// is to be flushed then.
  void seek(const AVStream& stream, std::int64_t ticks);
  /// Of a stream that is media.
  MediaTrack describe(const AVStream& stream);
  /// The rate that the moving stretches of a video keep, snapped to a usual one; 0 if it stands still.
  /// `intervals` are the ticks between its frames: a screen that mostly stands still has few, and is no video
  /// of three a second.
  static double gridRate(const std::vector<std::int64_t>& intervals, const AVStream& stream, double average);
  /// Has the copy of a stream turned as the stream is.
  static void copyOrientation(const AVStream& from, AVStream& to);
  /// A stream's ticks as a time; zero for what is before it.
  static MediaTime time(std::int64_t ticks, const AVStream& stream);

 private:
  /// In the stream's ticks; `AV_NOPTS_VALUE` where nothing in the file tells it.
  std::int64_t duration(const AVStream& stream) const;

  struct View;
  std::unique_ptr<View> view_;
  std::optional<MovieFragments::FragmentedMovie> movie_;
  FFmpeg::IOContext io_;
  FFmpeg::InputContext context_;
};

}  // namespace quillant
