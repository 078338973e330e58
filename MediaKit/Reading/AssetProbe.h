#pragma once

#include <filesystem>
#include <vector>

#include "Core/MediaTime.h"
#include "MediaKit/Reading/MediaTrack.h"

namespace quillant {

/// What a file of video or sound holds.
struct MediaAsset {
  MediaTime duration;              ///< Of the longest track; zero if nothing is in them.
  std::vector<MediaTrack> tracks;  ///< In the order of the file.
  /// When its zero was, on the clock that the files of one recording share; invalid for other files.
  MediaTime sessionStart = MediaTime::invalid();

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
