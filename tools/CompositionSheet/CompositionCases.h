#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Editor/Composition/WallpaperImageCache.h"
#include "tools/CompositionSheet/CompositionScene.h"

namespace quillant {

struct CompositionCase {
  std::string name;
  CompositionScene scene;
};

/// Every layer, in the ways in which it can differ: what the sheet shows to people, and what the tests
/// measure.
std::vector<CompositionCase> compositionCases();

/// The wallpapers as the build has drawn them.
std::shared_ptr<WallpaperImageCache> compositionWallpapers();

}  // namespace quillant
