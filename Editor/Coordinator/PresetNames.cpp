#include "Editor/Coordinator/PresetNames.h"

#include "Editor/Coordinator/EditorError.h"
#include "Editor/Project/BackgroundPresets.h"

namespace quillant::PresetNames {

std::vector<std::string> zooms() {
  std::vector<std::string> names;
  for (const auto& [preset, text] : rawTexts<TimelineZoomAnimationPreset>) names.emplace_back(text);
  return names;
}

std::vector<std::string> backgrounds() {
  std::vector<std::string> names;
  for (const auto& preset : BackgroundPresets::gradients()) names.push_back(preset.id);
  for (const auto& preset : BackgroundPresets::wallpapers()) names.push_back(preset.id);
  return names;
}

TimelineZoomAnimationPreset zoom(std::string_view name) {
  if (const auto preset = fromRawText<TimelineZoomAnimationPreset>(name)) return *preset;
  throw EditorError::unknownZoomPreset(name, zooms());
}

BackgroundStyle background(std::string_view name) {
  for (const auto& preset : BackgroundPresets::gradients())
    if (preset.id == name) return preset;
  for (const auto& preset : BackgroundPresets::wallpapers())
    if (preset.id == name) return preset;
  throw EditorError::unknownBackground(name, backgrounds());
}

}  // namespace quillant::PresetNames
