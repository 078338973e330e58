#include "Editor/Composition/WallpaperImageCache.h"

#include <algorithm>
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
  const auto found = std::ranges::find(entries_, assetName, &Entry::assetName);
  if (found != entries_.end()) {
    entries_.splice(entries_.begin(), entries_, found);
    return found->image;
  }
  try {
    entries_.push_front({assetName, PNGImage::read(folder_ / (assetName + ".png"))});
  } catch (const Error&) {
    return nullptr;
  }
  if (entries_.size() > capacity) entries_.pop_back();
  return entries_.front().image;
}

}  // namespace quillant
