#include "Editor/Export/EditorPlaybackComposition.h"

#include <utility>

#include "Editor/Export/VideoExportRendererError.h"
#include "Editor/Export/VideoExportSizing.h"

namespace quillant::EditorPlaybackComposition {

Result make(const std::filesystem::path& source, const TimelineEditSnapshot& edits,
            const VideoExportOptions& options, MultiSourceComposition::Sound sound) {
  auto built =
      MultiSourceComposition::make(source, edits, options, sound, MultiSourceComposition::Purpose::preview);
  if (!(built.outputDuration > 0))
    throw VideoExportRendererError(VideoExportRendererError::Kind::emptyTimeline);
  // One track of pictures is the recording's: no camera, no added file.
  const bool isRecordingAlone = built.videoTracks.size() == 1 && options.styling.isPlain() &&
                                (!options.cropSelection || options.cropSelection->isPassthrough()) &&
                                !options.cursorOverlay.isVisible && edits.zoomRegions.empty() &&
                                built.instruction->edit->captions().plan().blocks.empty();
  const auto frameDuration = VideoExportSizing::frameDuration(VideoExportFrameRate::source, built.sourceRate);
  return {.built = std::move(built), .frameDuration = frameDuration, .composesFrames = !isRecordingAlone};
}

}  // namespace quillant::EditorPlaybackComposition
