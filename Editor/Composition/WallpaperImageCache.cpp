#include "Editor/Composition/WallpaperImageCache.h"

#include <utility>

#include "Core/Error.h"
#include "DrawKit/PNGImage.h"

namespace quillant {

WallpaperImageCache::WallpaperImageCache(std::filesystem::path folder) : folder_(std::move(folder)) {}

PixelBufferRef WallpaperImageCache::image(const std::string& assetName) {
  // Documents come from anywhere: a name must not lead out of the folder.
  if (assetName.empty() || assetName.find_first_of(std::string_view("/\0", 2)) != std::string::npos)
    return nullptr;
  const std::lock_guard guard(lock_);
  if (const auto* found = read_.find([&](const Entry& entry) { return entry.assetName == assetName; }))
    return found->image;
  try {
    return read_.add({assetName, PNGImage::read(folder_ / (assetName + ".png"))}).image;
  } catch (const Error&) {
    return nullptr;
  }
}

}  // namespace quillant
