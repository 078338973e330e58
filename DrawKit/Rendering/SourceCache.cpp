#include "DrawKit/Rendering/SourceCache.h"

#include <algorithm>
#include <utility>

#include "DrawKit/Rendering/PreparePicture.h"
#include "DrawKit/Rendering/SlantedPicture.h"

namespace quillant {

bool SourceCache::isGone(const Entry& entry) const {
  const auto& source = entry.picture.preparation.source;
  const auto* picture = std::get_if<PixelBufferRef>(&source);
  return picture && picture->use_count() == std::ranges::count_if(entries_, [&](const auto& other) {
                      return other->picture.preparation.source == source;
                    });
}

const PreparedPicture& SourceCache::prepared(const Preparation& preparation) {
  const auto found = std::ranges::find_if(
      entries_, [&](const auto& entry) { return entry->picture.preparation == preparation; });
  if (found != entries_.end()) {
    (*found)->lastDrawn = frame_;
    return (*found)->picture;
  }
  auto entry = newEntry();
  prepare(preparation, store_, pool_, entry->picture);
  entry->lastDrawn = frame_;
  return entries_.emplace_back(std::move(entry))->picture;
}

std::unique_ptr<SourceCache::Entry> SourceCache::newEntry() {
  if (spare_.empty()) return std::make_unique<Entry>();
  auto entry = std::move(spare_.back());
  spare_.pop_back();
  return entry;
}

const PreparedPicture& SourceCache::slanted(const Image& image, const PreparedPicture* source,
                                            const PixelRect& area) {
  auto& entry = slanted_.emplace_back(newEntry());
  SlantedPicture::draw(image, source, area, store_, pool_, entry->picture);
  return entry->picture;
}

void SourceCache::release(std::unique_ptr<Entry> entry) {
  for (auto& block : entry->picture.blocks) store_.giveBack(std::move(block));
  entry->picture.blocks.clear();
  entry->picture.preparation.source = SerializableColor{};
  spare_.push_back(std::move(entry));
}

void SourceCache::endFrame() {
  for (auto& entry : slanted_) release(std::move(entry));
  slanted_.clear();
  for (auto& entry : entries_) entry->stays = entry->lastDrawn == frame_ || !isGone(*entry);
  const auto gone = std::ranges::partition(entries_, [](const auto& entry) { return entry->stays; });
  std::ranges::for_each(gone, [&](auto& entry) { release(std::move(entry)); });
  entries_.erase(gone.begin(), gone.end());

  std::size_t kept = 0;
  for (const auto& entry : entries_) kept += entry->picture.bytes();
  while (kept > mostBytes_) {
    const auto oldest =
        std::ranges::min_element(entries_, {}, [](const auto& entry) { return entry->lastDrawn; });
    if ((*oldest)->lastDrawn == frame_) break;
    kept -= (*oldest)->picture.bytes();
    release(std::move(*oldest));
    entries_.erase(oldest);
  }
  ++frame_;
}

void SourceCache::clear() {
  entries_.clear();
  slanted_.clear();
  spare_.clear();
  store_.trim();
}

}  // namespace quillant
