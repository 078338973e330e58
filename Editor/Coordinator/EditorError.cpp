#include "Editor/Coordinator/EditorError.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace quillant {

EditorError EditorError::noVideoTrack(const std::filesystem::path& file) {
  return {Kind::noVideoTrack, "no video track in " + file.string()};
}

EditorError EditorError::unknownZoomPreset(std::string_view name, const std::vector<std::string>& available) {
  return {Kind::unknownZoomPreset,
          fmt::format("unknown zoom preset '{}'; available: {}", name, fmt::join(available, ", "))};
}

EditorError EditorError::unknownBackground(std::string_view name, const std::vector<std::string>& available) {
  return {Kind::unknownBackground,
          fmt::format("unknown background '{}'; available: {}", name, fmt::join(available, ", "))};
}

EditorError EditorError::splitRangeInvalid(double from, double to, double duration) {
  return {Kind::splitRangeInvalid,
          fmt::format("split range {}-{}s is invalid for a {}s recording", from, to, duration)};
}

EditorError EditorError::nothingLoaded() {
  return {Kind::nothingLoaded, "no recording loaded"};
}

CaptionsNotReady::CaptionsNotReady(std::string_view name)
    : Error(fmt::format("Captions for “{}” aren't ready yet. Wait for them in the Captions tab, or turn "
                        "captions off.",
                        name)) {}

}  // namespace quillant
