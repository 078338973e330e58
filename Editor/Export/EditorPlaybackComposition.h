#pragma once

#include <filesystem>

#include "Core/MediaTime.h"
#include "Editor/Export/MultiSourceComposition.h"

namespace quillant {

/// The open edit as the editor's preview plays it: an exported file's frames and sound, but for what
/// `MultiSourceComposition::Purpose` says.
namespace EditorPlaybackComposition {

struct Result {
  MultiSourceComposition::Built built;  ///< Speeded sound keeps its pitch, as `SoundMix` plays it.
  MediaTime frameDuration;              ///< The recording's own.
  /// Whether a `FrameChain` has to compose the frames. Otherwise each is the recording's picture alone, at
  /// the time that the instruction's `requiredPictures` tells.
  bool composesFrames = true;
};

/// Blocking. Throws as `MultiSourceComposition::make` does, and `VideoExportRendererError` of kind
/// emptyTimeline.
Result make(const std::filesystem::path& source, const TimelineEditSnapshot& edits,
            const VideoExportOptions& options, MultiSourceComposition::Sound sound);

}  // namespace EditorPlaybackComposition
}  // namespace quillant
