#pragma once

#include <filesystem>
#include <mutex>
#include <string>

#include "Core/PixelBuffer.h"
#include "Editor/Composition/RecentlyUsed.h"

namespace quillant {

/// The wallpapers' pictures, read once for all who draw them; the last few stay in memory. Any thread: who
/// asks for one that is being read waits for it.
class WallpaperImageCache {
 public:
  /// `folder` holds the pictures as <asset name>.png.
  explicit WallpaperImageCache(std::filesystem::path folder);

  /// The picture of an asset; null where there is none that can be read. Blocks on the disk the first time.
  PixelBufferRef image(const std::string& assetName);

 private:
  struct Entry {
    std::string assetName;
    PixelBufferRef image;
  };
  std::filesystem::path folder_;
  std::mutex lock_;
  RecentlyUsed<Entry> read_{3};  ///< One of 2560 by 1440 pixels takes 15 MB.
};

}  // namespace quillant
