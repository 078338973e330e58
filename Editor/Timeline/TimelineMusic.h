#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "Core/UUID.h"
#include "Editor/Timeline/TimelineAudioClip.h"

namespace quillant {

/// What only the row of music has: volume and mute of whole songs, repeats, and fades. Times are output
/// seconds.
namespace TimelineMusic {

using Row = std::vector<TimelineAudioClip>;

/// Every clip of the song that the clip plays. None where nothing changes.
std::optional<Row> setVolume(const Row& row, const UUID& sameSongAs, double volume);
std::optional<Row> setMuted(const Row& row, const UUID& sameSongAs, bool muted);

struct Song {
  std::string source;   ///< `TimelineAudioSource::id`
  double duration = 0;  ///< Seconds.
  double volume = 1;
  bool muted = false;
};

/// More clips than this are not laid, however short the songs and however long the range.
inline constexpr std::size_t maximumFittedClips = 10'000;

/// The songs one after another, from the first again after the last, until the range is full. A range too
/// short to hold anything gets the first song whole.
Row fitted(const std::vector<Song>& songs, double from, double to);

/// The place of a clip among the clips that play one song over and over.
struct Repeat {
  int index = 0;
  int count = 0;

  friend bool operator==(const Repeat&, const Repeat&) = default;
};

/// The clips that repeat a song, by id: each begins where the one before it ends, and all but the first play
/// the song from its beginning. A clip that stands alone is not in it.
std::unordered_map<UUID, Repeat> repeats(Row row);

/// A stretch of unbroken music. It fades in at its start and out at its end.
struct Run {
  double start = 0;
  double end = 0;
  double fade = 0;  ///< Seconds that each fade takes.

  friend bool operator==(const Run&, const Run&) = default;
};

/// The runs of a row in order, as far as the video goes.
std::vector<Run> runs(Row row, double videoEnd);
/// 0...1; 1 outside every run. `runs` as `runs()` gives them.
double gain(double time, const std::vector<Run>& runs);

/// A linear change of gain.
struct Ramp {
  double start = 0;
  double end = 0;
  double fromGain = 0;
  double toGain = 0;

  friend bool operator==(const Ramp&, const Ramp&) = default;
};

struct Envelope {
  double initial = 1;       ///< The gain at the clip's start.
  std::vector<Ramp> ramps;  ///< In order, at most one in and one out.

  friend bool operator==(const Envelope&, const Envelope&) = default;
};

/// What the fades of its run do to one clip.
Envelope envelope(const TimelineAudioClip& clip, const std::vector<Run>& runs, double videoEnd);

}  // namespace TimelineMusic
}  // namespace quillant
