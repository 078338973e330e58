#include "DrawKit/Rendering/FrameRing.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <new>
#include <utility>

#include "Core/PixelRects.h"
#include "DrawKit/Rendering/FrameMemory.h"

namespace quillant {

struct FrameRing::Slot {
  Slot(int width, int height) : memory(width, height), stale{{0, 0, width, height}} {}

  FrameMemory memory;
  std::vector<PixelRect> stale;  ///< Where it differs from the newest.
  std::atomic<bool> held = false;
  /// Where the reference count of the published frame lives, so that publishing allocates nothing.
  alignas(std::max_align_t) std::byte control[96];
};

namespace {

/// Puts the one control block of a slot into the slot, and frees the slot when that is given back: after the
/// last reference is gone.
template <class T, class Slot>
struct SlotAllocator {
  using value_type = T;
  template <class U>
  struct rebind {
    using other = SlotAllocator<U, Slot>;
  };

  explicit SlotAllocator(std::shared_ptr<Slot> slot_) : slot(std::move(slot_)) {}
  template <class U>
  SlotAllocator(const SlotAllocator<U, Slot>& other) : slot(other.slot) {}

  T* allocate(std::size_t count) {
    static_assert(sizeof(T) <= sizeof(Slot::control) && alignof(T) <= alignof(std::max_align_t));
    if (count != 1) throw std::bad_alloc();
    return reinterpret_cast<T*>(slot->control);
  }
  void deallocate(T*, std::size_t) { slot->held.store(false, std::memory_order_release); }
  friend bool operator==(const SlotAllocator&, const SlotAllocator&) = default;

  std::shared_ptr<Slot> slot;
};

std::int64_t areaOf(const std::vector<PixelRect>& rects) {
  std::int64_t sum = 0;
  for (const PixelRect& rect : rects) sum += PixelRects::area(rect);
  return sum;
}

}  // namespace

FrameRing::FrameRing(int width, int height) : bounds_{0, 0, width, height} {}

FrameRing::~FrameRing() = default;

std::shared_ptr<FrameRing::Slot> FrameRing::acquire() {
  std::shared_ptr<Slot> best;
  for (const auto& slot : slots_)
    if (!slot->held.load(std::memory_order_acquire) && (!best || areaOf(slot->stale) < areaOf(best->stale)))
      best = slot;
  return best ? best : slots_.emplace_back(std::make_shared<Slot>(bounds_.width, bounds_.height));
}

PixelBuffer& FrameRing::begin(const std::vector<PixelRect>& fresh) {
  begun_ = acquire();
  if (newest_ && begun_.get() != newest_)
    for (const PixelRect& rect : begun_->stale) {
      const auto isFresh = [&](const PixelRect& other) { return PixelRects::contains(other, rect); };
      if (std::ranges::none_of(fresh, isFresh)) copyArea(newest_->memory.frame, begun_->memory.frame, rect);
    }
  begun_->stale.clear();
  return begun_->memory.frame;
}

PixelBufferRef FrameRing::publish(const std::vector<PixelRect>& changed) {
  for (const auto& slot : slots_) {
    if (slot == begun_) continue;
    slot->stale.insert(slot->stale.end(), changed.begin(), changed.end());
    slot->stale = PixelRects::coalesced(std::move(slot->stale), bounds_);
  }
  newest_ = begun_.get();
  PixelBuffer& buffer = newest_->memory.frame;
  buffer.sequence = ++sequence_;
  buffer.changed = changed;
  newest_->held.store(true, std::memory_order_relaxed);
  const auto noDeletion = [](const PixelBuffer*) {};
  return {&buffer, noDeletion, SlotAllocator<PixelBuffer, Slot>(std::exchange(begun_, nullptr))};
}

void FrameRing::forget() {
  begun_ = nullptr;
  newest_ = nullptr;
  for (const auto& slot : slots_) slot->stale.assign(1, bounds_);
}

}  // namespace quillant
