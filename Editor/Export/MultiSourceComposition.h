#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "Core/Geometry.h"
#include "Editor/Composition/VideoBackgroundCompositionInstruction.h"
#include "Editor/Export/VideoExportOptions.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"
#include "MediaKit/Composing/MediaComposition.h"

namespace quillant {

/// An edit and its files as what a reader plays: which range of which file is seen and heard where, at which
/// volume, and how each frame is composed.
namespace MultiSourceComposition {

/// A file of pictures that frames need.
struct VideoTrack {
  int trackID = 0;  ///< As the instructions name it.
  std::filesystem::path file;
  /// What to take off a time on the instruction's clock to have the track's own: a camera starts later than
  /// the screen by its offset.
  double offset = 0;  ///< Seconds.

  friend bool operator==(const VideoTrack&, const VideoTrack&) = default;
};

struct Built {
  /// Of the main recording; it knows those of the added files.
  std::shared_ptr<const VideoBackgroundCompositionInstruction> instruction;
  std::vector<VideoTrack> videoTracks;
  MediaComposition sound;     ///< Sound only.
  Size renderSize;            ///< Pixels.
  Size sourceSize;            ///< Of the main recording, upright, in pixels.
  double sourceRate = 0;      ///< Frames a second of the main recording; 0: unknown.
  double outputDuration = 0;  ///< Seconds; 0 if the edit plays nothing.
};

enum class Sound { included, leftOut };
/// A preview plays a voice that is still to be cleaned as it is, and leaves annotations to a view over it.
enum class Purpose { exported, preview };

/// Captions that the edit has on are burned in.
///
/// Blocking: opens and probes every file. Throws `MultiSourceCompositionError`, and for a main recording that
/// cannot be read `FileError`, `MediaError`, or `VideoExportRendererError` of kind missingVideoTrack. A
/// cursor file that cannot be read is left out.
Built make(const std::filesystem::path& primary, const TimelineEditSnapshot& edits,
           const VideoExportOptions& options, Sound sound, Purpose purpose);

/// The camera's own time for a time of the recording that it was made with. `offsetMs` is the camera's start
/// less the screen's.
inline double cameraTime(double sourceTime, double offsetMs) {
  return sourceTime - offsetMs / 1000;
}

}  // namespace MultiSourceComposition
}  // namespace quillant
