#include "Editor/Export/VideoExportRendererError.h"

#include <fmt/format.h>
#include <utility>

#include "Core/SystemWords.h"

namespace quillant {

namespace {

std::string text(VideoExportRendererError::Kind kind, std::string cause) {
  using Kind = VideoExportRendererError::Kind;
  switch (kind) {
    case Kind::missingVideoTrack:
      return "The recording does not contain a video track.";
    case Kind::exportSessionUnavailable:
      return fmt::format("This {} cannot create the requested export session.", SystemWords::computer);
    case Kind::exportCancelled:
      return "The export was cancelled.";
    case Kind::emptyTimeline:
      return "Timeline edits remove the entire recording.";
    case Kind::unsupportedFormat:
      return "This export format is not supported.";
    case Kind::gifDestinationUnavailable:
      return fmt::format("This {} cannot create the GIF export file.", SystemWords::computer);
    case Kind::gifFrameGenerationFailed:
      return "GIF frame rendering failed.";
    case Kind::exportFailed:
      break;
  }
  return cause.empty() ? "Video export failed." : std::move(cause);
}

}  // namespace

VideoExportRendererError::VideoExportRendererError(Kind kind, std::string cause)
    : Error(text(kind, std::move(cause))), kind_(kind) {}

}  // namespace quillant
