#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "Linux/Screen/CaptureSource.h"
#include "Linux/Screen/FramePool.h"
#include "Linux/Screen/PicturePlacement.h"
#include "Linux/Screen/PixelFetcher.h"

namespace quillant {

/// Brings what changed in a source into a picture of the pool: fetched where it goes, or, if the sizes
/// differ, into a copy of the source from which the changed parts are resampled. Belongs to the stream's
/// thread.
class PictureReader {
 public:
  PictureReader(const X11Connection& connection, FramePool& pool, const CaptureSource::Picture& picture);

  /// The source's picture is another one: the next read takes all of it.
  void replace(const CaptureSource::Picture& picture);

  /// Makes `slot` show what the source shows now. `damage` is what was drawn since the last read, in source
  /// coordinates. Returns what changed in the delivered picture: nothing if the damage lies outside, and then
  /// `slot` is as it was. Absent if the source cannot be read: the stream is over then.
  std::optional<std::vector<PixelRect>> read(FramePool::Slot& slot, std::vector<PixelRect> damage);

  std::uint64_t pixelsFetched() const { return fetcher_.pixelsFetched(); }

 private:
  bool fetch(const std::vector<PixelRect>& rects, SharedPixels& target);
  void resample(const std::vector<PixelRect>& rects, SharedPixels& target) const;
  /// Memory of the source's size, and the server's hold on it.
  void renewCopy(bool needed);

  FramePool& pool_;
  PixelFetcher fetcher_;
  CaptureSource::Picture picture_;
  PicturePlacement atStart_;
  PicturePlacement placement_;
  std::unique_ptr<SharedPixels> copy_;  ///< Of the source, while it is resampled.
  bool whole_ = true;
};

}  // namespace quillant
