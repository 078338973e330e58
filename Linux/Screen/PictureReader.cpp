#include "Linux/Screen/PictureReader.h"

#include "Linux/Screen/PixelRects.h"
#include "MediaKit/BGRAScaler.h"

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
  PixelRect readable = picture_.readable;
  if (!copy_) readable = PixelRects::intersection(readable, {0, 0, placement_.width, placement_.height});
  const auto rects = whole_ ? std::vector{readable} : PixelRects::coalesced(std::move(damage), readable);
  if (rects.empty()) return rects;

  std::vector<PixelRect> changed;
  if (whole_)
    changed = {pool_.bounds()};
  else if (copy_)
    for (const auto& rect : rects) changed.push_back(placement_.delivered(rect));
  else
    changed = rects;
  changed = PixelRects::coalesced(std::move(changed), pool_.bounds());

  if (!whole_) pool_.bringUpToDate(slot, copy_ ? changed : rects);
  if (whole_) blacken(slot.pixels, pool_.bounds());
  if (!fetch(rects, copy_ ? *copy_ : slot.pixels)) return std::nullopt;
  if (copy_) resample(changed, slot.pixels);
  whole_ = false;
  return changed;
}

bool PictureReader::fetch(const std::vector<PixelRect>& rects, SharedPixels& target) {
  std::vector<PixelRect> nonEmpty = rects;
  std::erase_if(nonEmpty, [](const PixelRect& rect) { return PixelRects::area(rect) == 0; });
  return fetcher_.fetch(picture_.drawable, picture_.offsetX, picture_.offsetY, nonEmpty, target);
}

void PictureReader::resample(const std::vector<PixelRect>& rects, SharedPixels& target) const {
  const PixelRect placed{0, 0, placement_.width, placement_.height};
  for (const auto& rect : rects)
    scaleBGRA(copy_->plane(), copy_->width(), copy_->height(), target.plane(), placement_.width,
              placement_.height, PixelRects::intersection(rect, placed));
}

}  // namespace quillant
