#pragma once

#include <vector>

#include "Editor/Project/BackgroundStyle.h"

/// The palette that the backdrop panel offers, in its order. Built on first use; safe on any thread.
namespace quillant::BackgroundPresets {

const std::vector<GradientPreset>& gradients();
const std::vector<WallpaperPreset>& wallpapers();
/// What a new project gets: the first wallpaper.
BackgroundStyle default_();

}  // namespace quillant::BackgroundPresets
