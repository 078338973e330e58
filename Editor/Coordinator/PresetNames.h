#pragma once

#include <string_view>

#include "Editor/Project/BackgroundStyle.h"
#include "Editor/Timeline/TimelineZoomRegion.h"

/// Presets by the names that people type. Each throws the `EditorError` that lists those there are.
namespace quillant::PresetNames {

TimelineZoomAnimationPreset zoom(std::string_view name);
/// A gradient's or a wallpaper's id.
BackgroundStyle background(std::string_view name);

}  // namespace quillant::PresetNames
