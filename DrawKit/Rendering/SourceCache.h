#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "DrawKit/BandPool.h"
#include "DrawKit/Rendering/BlockStore.h"
#include "DrawKit/Rendering/PreparedPicture.h"

namespace quillant {

/// Prepared sources that may come again. One thread at a time.
class SourceCache {
 public:
  SourceCache(std::size_t mostBytes, BandPool& pool) : mostBytes_(mostBytes), pool_(pool) {}

  /// Of the frame that is being drawn; it stays until the end of that frame.
  const PreparedPicture& prepared(const Preparation& preparation);
  /// The same on the grids of the canvas, for an image whose transform does not keep rectangles. Not kept.
  const PreparedPicture& slanted(const Image& image, const PreparedPicture* source, const PixelRect& area);
  /// Evicts what cannot come again, and what is over the limit, the least recently drawn first.
  void endFrame();
  void clear();

 private:
  struct Entry {
    PreparedPicture picture;
    std::uint64_t lastDrawn = 0;
    bool stays = true;  ///< Beyond the end of the frame.
  };

  /// Whether nobody but this cache has the picture any more, so that it cannot be drawn again. A picture may
  /// have several entries: a video and its shadow.
  bool isGone(const Entry& entry) const;
  std::unique_ptr<Entry> newEntry();
  void release(std::unique_ptr<Entry> entry);

  std::size_t mostBytes_;
  BandPool& pool_;
  BlockStore store_;
  std::uint64_t frame_ = 1;
  std::vector<std::unique_ptr<Entry>> slanted_;
  std::vector<std::unique_ptr<Entry>> entries_;
  std::vector<std::unique_ptr<Entry>> spare_;
};

}  // namespace quillant
