#pragma once

#include <cstdint>
#include <variant>

#include "Core/JSONForward.h"
#include "Editor/Project/VideoExportResolution.h"

namespace quillant {

struct VideoCropPresetSize {
  VideoExportResolution resolution = VideoExportResolution::source;
  friend bool operator==(const VideoCropPresetSize&, const VideoCropPresetSize&) = default;
};

struct VideoCropCustomSize {
  std::int64_t width = 0;   ///< Pixels.
  std::int64_t height = 0;  ///< Pixels.
  friend bool operator==(const VideoCropCustomSize&, const VideoCropCustomSize&) = default;
};

/// How large the cropped picture shall become: {"preset": "p1080"} or {"custom": {"width": …, "height": …}}.
using VideoCropSizing = std::variant<VideoCropPresetSize, VideoCropCustomSize>;

void to_json(Json& json, const VideoCropSizing& sizing);
void from_json(const Json& json, VideoCropSizing& sizing);

}  // namespace quillant
