#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Editor/Timeline/TimelineCaptions.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"

namespace quillant {

/// A sound of an edit that should have a transcript.
struct CaptionTarget {
  std::string source;  ///< As `TimelineTranscript::source`.
  TimelineTranscriptTrack track = TimelineTranscriptTrack::mic;
  std::filesystem::path url;    ///< The media file.
  int trackIndex = 0;           ///< Among the file's audio tracks.
  std::string name;             ///< How the user knows it.
  std::filesystem::path cache;  ///< Where its transcript is kept, beside the recording.

  friend bool operator==(const CaptionTarget&, const CaptionTarget&) = default;
};

namespace CaptionTargets {

/// The sounds of a recording, and of all that was added to it: of a recording its microphone, the system's
/// sound, and one more track if there is one; of any other file its first track. What cannot be read has
/// none. Blocking: opens every file.
std::vector<CaptionTarget> find(const std::filesystem::path& recording, const TimelineEditSnapshot& edits);

/// Those of `targets` of which the captions hold no transcript.
std::vector<CaptionTarget> missing(std::vector<CaptionTarget> targets,
                                   const std::optional<TimelineCaptions>& captions);

/// How the user knows a track: the name of its source and, where that has several voices, which one it is.
std::string displayName(const std::string& sourceName, TimelineTranscriptTrack track);

}  // namespace CaptionTargets
}  // namespace quillant
