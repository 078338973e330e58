#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "Core/AffineTransform.h"
#include "Core/Geometry.h"
#include "Editor/Composition/CursorTelemetryTrack.h"
#include "Editor/Composition/PreparedEdit.h"
#include "Editor/Composition/VideoBackgroundStyling.h"
#include "Editor/Project/CursorOverlaySettings.h"

namespace quillant {

/// Everything that the frames of one file of video need, apart from their pictures. Made once and then only
/// read; any thread.
///
/// The canvas is `renderSize`, in pixels. All coordinates have their origin at the top left.
struct VideoBackgroundCompositionInstruction {
  /// Which decoded pictures are this file's, and its camera's: numbers that the caller gives out.
  int sourceTrackID = 0;
  std::optional<int> facecamTrackID;

  VideoBackgroundStyling styling;

  /// The track's `MediaTrack::upright` and `displaySize`: from its pixels, as they are stored, to the upright
  /// picture with its corner at the origin. Keeps rectangles. A decoded picture of another size than its
  /// track's is stretched to it.
  AffineTransform preferredTransform;
  Size normalizedSize;  ///< The upright picture's.
  AffineTransform facecamPreferredTransform;
  Size facecamNormalizedSize;  ///< 0 by 0: as large as the picture that comes.

  Rect cropRect;  ///< In pixels of `normalizedSize`.
  Size renderSize;

  std::shared_ptr<const PreparedEdit> edit;  ///< The whole edit; every file's instruction has the same.
  PreparedEdit::SourceNumber source = PreparedEdit::mainRecording;

  std::shared_ptr<const CursorTelemetryTrack> cursorTrack;  ///< None: no cursor is drawn.
  CursorOverlaySettings cursorSettings;

  /// Whether the edit's annotations are drawn; a preview has them in a view of its own.
  bool showsAnnotations = true;

  /// The instructions of the added files, by their numbers; null where there is none. Only the main
  /// recording's has any.
  std::vector<std::shared_ptr<const VideoBackgroundCompositionInstruction>> sourceInstructions;

  /// The instruction of a file: this one for the main recording, and for a file that has none.
  const VideoBackgroundCompositionInstruction& of(PreparedEdit::SourceNumber number) const;

  /// What has to be decoded for a frame, and nothing else: times are seconds in the source.
  struct RequiredPictures {
    int sourceTrackID = 0;
    double sourceTime = 0;
    std::optional<int> facecamTrackID;  ///< None: no camera shows.
    double facecamTime = 0;             ///< On the source's clock too.
  };
  RequiredPictures requiredPictures(double outputTime) const;
};

}  // namespace quillant
