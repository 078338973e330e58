#include "quillant/Commands/VideoFile.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

#include "Core/AtomicFile.h"
#include "MediaKit/MediaError.h"
#include "MediaKit/Pictures/JPEGImage.h"
#include "MediaKit/Reading/AssetProbe.h"
#include "MediaKit/Reading/FrameGrabber.h"

namespace quillant::VideoFile {

VideoFacts probe(const std::filesystem::path& video) {
  const auto asset = AssetProbe::probe(video);
  const auto tracks = asset.tracksOfKind(MediaTrack::Kind::video);
  if (tracks.empty()) throw MediaError(MediaError::Kind::noVideoTrack, "there is no video in it");
  const auto size = tracks.front().displaySize;
  std::error_code failed;
  const auto bytes = std::filesystem::file_size(video, failed);
  if (failed) throw FileError("read", video, failed);
  return {.sizeBytes = static_cast<std::int64_t>(bytes),
          .durationMs = asset.duration.converted(1000).value,
          .width = std::llround(size.width),
          .height = std::llround(size.height)};
}

void makePoster(const std::filesystem::path& video, const std::filesystem::path& poster) {
  // A second in, since the very first frame often shows what was there before the video's subject.
  const double start = std::min(1.0, AssetProbe::probe(video).duration.seconds() / 2);
  const FrameGrabOptions options{.toleranceAfter = MediaTime{3600, 1}, .maximumSide = 1280};
  const auto frame = FrameGrabber::grab(video, MediaTime::fromSeconds(start), options);
  const auto jpeg = JPEGImage::encode(*frame.picture);
  AtomicFile::write(poster, {reinterpret_cast<const char*>(jpeg.data()), jpeg.size()}, 0600);
}

}  // namespace quillant::VideoFile
