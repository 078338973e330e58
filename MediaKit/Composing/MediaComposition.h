#pragma once

#include <filesystem>
#include <vector>

namespace quillant {

/// A stretch of a source, and where it plays. Source seconds count from the file's zero, output seconds from
/// the composition's.
struct MediaRange {
  double sourceStart = 0;
  double sourceEnd = 0;
  double start = 0;
  double end = 0;

  /// Source seconds in one second of output.
  double rate() const { return (sourceEnd - sourceStart) / (end - start); }
  double sourceTime(double time) const { return sourceStart + (time - start) * rate(); }

  friend bool operator==(const MediaRange&, const MediaRange&) = default;
};

/// Volume over output time: straight between two points, and steady before the first and after the last. Two
/// points at one time are a step.
struct VolumePoint {
  double time = 0;
  double volume = 1;

  friend bool operator==(const VolumePoint&, const VolumePoint&) = default;
};

/// What of one track of a file plays where.
struct MediaCompositionTrack {
  std::filesystem::path file;
  int track = 0;                    ///< Among the file's tracks of its kind.
  std::vector<MediaRange> ranges;   ///< In output order; they never overlap, and each has a length.
  std::vector<VolumePoint> volume;  ///< Sound only, in order of time; empty is 1 throughout.

  friend bool operator==(const MediaCompositionTrack&, const MediaCompositionTrack&) = default;
};

/// What plays when: a plain value that readers play.
struct MediaComposition {
  std::vector<MediaCompositionTrack> video;
  std::vector<MediaCompositionTrack> sound;  ///< All are heard together.
  double duration = 0;                       ///< Output seconds.

  friend bool operator==(const MediaComposition&, const MediaComposition&) = default;
};

}  // namespace quillant
