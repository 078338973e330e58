#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Editor/Project/BackgroundStyle.h"
#include "Editor/Timeline/TimelineZoomRegion.h"

/// Presets by the names that people type.
namespace quillant::PresetNames {

std::vector<std::string> zooms();
/// Ids of gradients, then of wallpapers.
std::vector<std::string> backgrounds();

// Each throws the `EditorError` that lists those there are.

TimelineZoomAnimationPreset zoom(std::string_view name);
BackgroundStyle background(std::string_view name);

}  // namespace quillant::PresetNames
