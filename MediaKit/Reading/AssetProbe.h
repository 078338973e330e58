#pragma once

#include <filesystem>
#include <vector>

#include "Core/Geometry.h"
#include "Core/MediaTime.h"

namespace quillant {

struct MediaTrack {
  enum class Kind { video, audio };

  Kind kind = Kind::video;
  MediaTime duration;           ///< From the file's zero to the end of the track's last sample.
  Size naturalSize;             ///< Video: pixels as stored, before `rotation`.
  int rotation = 0;             ///< Video: degrees clockwise to turn the picture by: 0, 90, 180 or 270.
  double nominalFrameRate = 0;  ///< Video: frames a second on average; 0 if the file does not tell.
  int channels = 0;             ///< Audio.
  int sampleRate = 0;           ///< Audio: samples a second.
  friend bool operator==(const MediaTrack&, const MediaTrack&) = default;
};

/// What a file of video or sound holds.
struct MediaAsset {
  MediaTime duration;              ///< Of the longest track; zero if nothing is in them.
  std::vector<MediaTrack> tracks;  ///< In the order of the file.

  std::vector<MediaTrack> tracksOfKind(MediaTrack::Kind kind) const;
  friend bool operator==(const MediaAsset&, const MediaAsset&) = default;
};

/// Reads what a file holds without decoding it. Of a fragmented file without a closing index, cut off
/// anywhere, it tells what lies up to the last whole fragment.
namespace AssetProbe {

/// Blocking; reads indexes only, so that hours take milliseconds. Throws `FileError` if the file cannot be
/// opened or read, and `MediaError` of kind unreadable if nothing in it can be played: it is of no known
/// kind, or it breaks off before its first fragment is whole.
MediaAsset probe(const std::filesystem::path& path);

}  // namespace AssetProbe
}  // namespace quillant
