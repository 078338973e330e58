#include "Editor/Coordinator/PresetNames.h"

#include "Editor/Coordinator/EditorError.h"
#include "Editor/Project/BackgroundPresets.h"

namespace quillant::PresetNames {

TimelineZoomAnimationPreset zoom(std::string_view name) {
  if (const auto preset = fromRawText<TimelineZoomAnimationPreset>(name)) return *preset;
  std::vector<std::string> available;
  for (const auto& [preset, text] : rawTexts<TimelineZoomAnimationPreset>) available.emplace_back(text);
  throw EditorError::unknownZoomPreset(name, available);
}

BackgroundStyle background(std::string_view name) {
  std::vector<std::string> available;
  for (const auto& preset : BackgroundPresets::gradients()) {
    if (preset.id == name) return preset;
    available.push_back(preset.id);
  }
  for (const auto& preset : BackgroundPresets::wallpapers()) {
    if (preset.id == name) return preset;
    available.push_back(preset.id);
  }
  throw EditorError::unknownBackground(name, available);
}

}  // namespace quillant::PresetNames
