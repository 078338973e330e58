#include "MediaKit/Writing/PictureConverter.h"

#include <algorithm>
#include <cstring>

#include "MediaKit/Pictures/ColorConversion.h"

namespace quillant {

namespace {

constexpr int blockSize = EncoderPicture::blockSize;

int roundUp(int value, int step) {
  return (value + step - 1) / step * step;
}

void copyPlane(PixelBuffer::Plane from, PixelBuffer::Plane to, PixelRect area) {
  for (int y = area.y; y < area.y + area.height; ++y)
    std::memcpy(to.data + static_cast<std::ptrdiff_t>(to.stride) * y + area.x,
                from.data + static_cast<std::ptrdiff_t>(from.stride) * y + area.x,
                static_cast<std::size_t>(area.width));
}

void copyPlanes(const std::array<PixelBuffer::Plane, 3>& from, const std::array<PixelBuffer::Plane, 3>& to,
                PixelRect area) {
  copyPlane(from[0], to[0], area);
  for (const std::size_t chroma : {1U, 2U})
    copyPlane(from[chroma], to[chroma], {area.x / 2, area.y / 2, area.width / 2, area.height / 2});
}

}  // namespace

PictureConverter::Slot::Slot(int width, int height, std::size_t blocks) {
  const int stride = roundUp(width, 64);
  const auto lumaSize = static_cast<std::size_t>(stride) * static_cast<std::size_t>(height);
  memory.resize(lumaSize + lumaSize / 2);
  planes[0] = {memory.data(), stride};
  planes[1] = {memory.data() + lumaSize, stride / 2};
  planes[2] = {memory.data() + lumaSize + lumaSize / 4, stride / 2};
  constantBlocks.resize(blocks);
  stale.assign(blocks, 1);
}

PictureConverter::PictureConverter(int width, int height)
    : width_(width),
      height_(height),
      blockColumns_(static_cast<int>(EncoderPicture::blocks(width))),
      blockRows_(static_cast<int>(EncoderPicture::blocks(height))) {}

PictureConverter::Result PictureConverter::convert(const PixelBuffer& buffer) {
  const bool told = buffer.sequence != 0 && sequence_ != 0;
  const bool repeated = told && buffer.sequence == sequence_;
  const bool follows = told && buffer.sequence == sequence_ + 1;
  sequence_ = buffer.sequence;
  std::vector<PixelRect> areas;
  if (!repeated && !follows) areas.push_back({0, 0, width_, height_});
  if (follows) {
    for (const auto& rect : buffer.changed) {
      const auto area = ColorConversion::affectedArea(rect, width_, height_);
      if (area.width > 0 && area.height > 0) areas.push_back(area);
    }
  }

  auto& slot = acquire();
  slot.changed = !repeated && !(follows && buffer.changed.empty());
  std::ranges::fill(slot.constantBlocks, std::uint8_t{1});
  for (const auto& area : areas) markBlocks(area, slot);
  bringUpToDate(slot);
  std::uint64_t pixels = 0;
  for (const auto& area : areas) {
    takeRect(buffer, area, slot);
    pixels += static_cast<std::uint64_t>(area.width) * static_cast<std::uint64_t>(area.height);
  }
  for (const auto& other : slots_) {
    if (other.get() == &slot) continue;
    for (std::size_t block = 0; block < other->stale.size(); ++block)
      if (slot.constantBlocks[block] == 0) other->stale[block] = 1;
  }

  newest_ = *std::ranges::find(slots_, &slot, &std::shared_ptr<Slot>::get);
  return {EncoderPictureRef(&slot, [held = newest_](const EncoderPicture*) { held->isHeld = false; }),
          pixels};
}

/// The newest picture itself if nobody holds it any more, then one that was used before.
PictureConverter::Slot& PictureConverter::acquire() {
  const auto isFree = [](const std::shared_ptr<Slot>& slot) { return slot && !slot->isHeld; };
  auto found = isFree(newest_) ? newest_ : nullptr;
  if (!found) {
    const auto free = std::ranges::find_if(slots_, isFree);
    found = free != slots_.end()
                ? *free
                : slots_.emplace_back(std::make_shared<Slot>(
                      width_, height_, static_cast<std::size_t>(blockColumns_) * blockRows_));
  }
  found->isHeld = true;
  return *found;
}

/// Blocks that `area` touches are not constant; those that it covers need not be brought up to date.
void PictureConverter::markBlocks(PixelRect area, Slot& slot) const {
  const int right = area.x + area.width;
  const int bottom = area.y + area.height;
  for (int row = area.y / blockSize; row <= (bottom - 1) / blockSize; ++row) {
    const bool coversRow = area.y <= row * blockSize && bottom >= std::min((row + 1) * blockSize, height_);
    for (int column = area.x / blockSize; column <= (right - 1) / blockSize; ++column) {
      const auto block = static_cast<std::size_t>(row * blockColumns_ + column);
      slot.constantBlocks[block] = 0;
      if (coversRow && area.x <= column * blockSize && right >= std::min((column + 1) * blockSize, width_))
        slot.stale[block] = 0;
    }
  }
}

void PictureConverter::bringUpToDate(Slot& slot) const {
  for (int row = 0; newest_ && newest_.get() != &slot && row < blockRows_; ++row) {
    const auto begin = slot.stale.begin() + static_cast<std::ptrdiff_t>(row) * blockColumns_;
    const auto end = begin + blockColumns_;
    for (auto run = std::find(begin, end, 1); run != end;) {
      const auto past = std::find(run, end, 0);
      const int x = static_cast<int>(run - begin) * blockSize;
      const int y = row * blockSize;
      copyPlanes(newest_->planes, slot.planes,
                 {x, y, std::min(static_cast<int>(past - begin) * blockSize, width_) - x,
                  std::min(blockSize, height_ - y)});
      run = std::find(past, end, 1);
    }
  }
  std::ranges::fill(slot.stale, std::uint8_t{0});
}

void PictureConverter::takeRect(const PixelBuffer& buffer, PixelRect area, Slot& to) const {
  if (buffer.format == PixelFormat::bgra)
    ColorConversion::bgraToI420(buffer.planes[0], to.planes, area);
  else
    copyPlanes(buffer.planes, to.planes, area);
}

}  // namespace quillant
