#include "Linux/Screen/PictureReader.h"

#include <utility>

#include "Core/PixelRects.h"
#include "MediaKit/Pictures/BGRAScaler.h"

namespace quillant {

PictureReader::PictureReader(const X11Connection& connection, FramePool& pool,
                             const CaptureSource::Picture& picture)
    : pool_(pool),
      fetcher_(connection),
      picture_(picture),
      atStart_(PicturePlacement::filling(picture.width, picture.height, pool.bounds().width,
                                         pool.bounds().height)),
      placement_(atStart_) {
  for (auto& slot : pool_.slots()) fetcher_.attach(slot.pixels);
  renewCopy(placement_.isScaled());
}

void PictureReader::replace(const CaptureSource::Picture& picture) {
  picture_ = picture;
  whole_ = true;
  const bool sameSize = picture.width == placement_.sourceWidth && picture.height == placement_.sourceHeight;
  if (sameSize) return;
  const bool asAtStart = picture.width == atStart_.sourceWidth && picture.height == atStart_.sourceHeight;
  placement_ = asAtStart ? atStart_ : atStart_.forSource(picture.width, picture.height);
  renewCopy(placement_.isScaled());
}

void PictureReader::renewCopy(bool needed) {
  if (copy_) fetcher_.detach(*copy_);
  copy_.reset();
  if (!needed) return;
  copy_ = std::make_unique<SharedPixels>(picture_.width, picture_.height);
  fetcher_.attach(*copy_);
}

std::optional<std::vector<PixelRect>> PictureReader::read(FramePool::Slot& slot,
                                                          std::vector<PixelRect> damage) {
  const PixelRect placed{0, 0, placement_.width, placement_.height};
  const PixelRect readable = copy_ ? picture_.readable : PixelRects::intersection(picture_.readable, placed);
  const auto rects = whole_ ? std::vector{readable} : PixelRects::coalesced(std::move(damage), readable);
  if (rects.empty()) return rects;

  std::vector<PixelRect> written = rects;
  if (copy_) {
    for (auto& rect : written) rect = placement_.delivered(rect);
    written = PixelRects::coalesced(std::move(written), placed);
  }
  if (whole_)
    blacken(slot.pixels, pool_.bounds());
  else
    pool_.bringUpToDate(slot, written);
  if (!fetch(rects, copy_ ? *copy_ : slot.pixels)) return std::nullopt;
  if (copy_) resample(written, slot.pixels);
  if (std::exchange(whole_, false)) return std::vector{pool_.bounds()};
  return PixelRects::coalesced(std::move(written), pool_.bounds());
}

bool PictureReader::fetch(const std::vector<PixelRect>& rects, SharedPixels& target) {
  std::vector<PixelRect> nonEmpty = rects;
  std::erase_if(nonEmpty, [](const PixelRect& rect) { return PixelRects::area(rect) == 0; });
  return fetcher_.fetch(picture_.drawable, picture_.offsetX, picture_.offsetY, nonEmpty, target);
}

void PictureReader::resample(const std::vector<PixelRect>& rects, SharedPixels& target) const {
  for (const auto& rect : rects)
    scaleBGRA(copy_->plane(), copy_->width(), copy_->height(), target.plane(), placement_.width,
              placement_.height, rect);
}

}  // namespace quillant
