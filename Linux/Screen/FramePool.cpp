#include "Linux/Screen/FramePool.h"

#include <algorithm>

#include "Core/PixelRects.h"

namespace quillant {

namespace {

std::int64_t areaToCopy(const FramePool::Slot& slot) {
  std::int64_t sum = 0;
  for (const auto& rect : slot.stale) sum += PixelRects::area(rect);
  return sum;
}

}  // namespace

FramePool::FramePool(int width, int height, int depth, std::shared_ptr<WakeUp> released)
    : bounds_{0, 0, width, height}, released_(std::move(released)) {
  for (int i = 0; i < std::max(1, depth); ++i) slots_.emplace_back(width, height);
}

FramePool::Slot* FramePool::acquire() {
  // A buffer that is released between the search and the mark must not go unnoticed: so the search comes
  // again after the mark.
  for (const bool lastTry : {false, true}) {
    Slot* best = nullptr;
    for (auto& slot : slots_)
      if (!slot.held && (!best || areaToCopy(slot) < areaToCopy(*best))) best = &slot;
    if (best) {
      starved_ = false;
      best->held = true;
      return best;
    }
    if (!lastTry) starved_ = true;
  }
  return nullptr;
}

void FramePool::putBack(Slot& slot) {
  slot.held = false;
}

void FramePool::bringUpToDate(Slot& slot, const std::vector<PixelRect>& fresh) {
  std::erase_if(slot.stale, [&](const PixelRect& rect) {
    return std::ranges::any_of(fresh,
                               [&](const PixelRect& other) { return PixelRects::contains(other, rect); });
  });
  if (newest_) copyPixels(newest_->pixels, slot.pixels, slot.stale);
}

PixelBufferRef FramePool::publish(Slot& slot, std::vector<PixelRect> changed) {
  for (auto& other : slots_) {
    other.stale.insert(other.stale.end(), changed.begin(), changed.end());
    other.stale = PixelRects::coalesced(std::move(other.stale), bounds_);
  }
  slot.stale.clear();
  newest_ = &slot;

  auto buffer = std::make_shared<PixelBuffer>();
  buffer->format = PixelFormat::bgra;
  buffer->width = bounds_.width;
  buffer->height = bounds_.height;
  buffer->planes[0] = slot.pixels.plane();
  buffer->sequence = ++sequence_;
  buffer->changed = std::move(changed);
  buffer->memory = std::shared_ptr<void>(
      &slot, [pool = shared_from_this()](void* held) { pool->release(*static_cast<Slot*>(held)); });
  return buffer;
}

void FramePool::release(Slot& slot) {
  slot.held = false;
  if (starved_.exchange(false)) released_->signal();
}

}  // namespace quillant
