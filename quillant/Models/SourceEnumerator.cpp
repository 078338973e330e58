#include "quillant/Models/SourceEnumerator.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "Core/Error.h"
#include "Core/QueueTask.h"
#include "Core/Text.h"
#include "Core/TextCollator.h"
#include "quillant/Models/SystemApplications.h"

namespace quillant {

std::shared_ptr<SourceEnumerator> SourceEnumerator::make(Executor mainThread, Environment environment) {
  return std::shared_ptr<SourceEnumerator>(
      new SourceEnumerator(std::move(mainThread), std::move(environment)));
}

SourceEnumerator::SourceEnumerator(Executor mainThread, Environment environment)
    : mainThread_(std::move(mainThread)), environment_(std::move(environment)) {}

PixelBufferRef SourceEnumerator::thumbnail(std::uint32_t displayID) const {
  const auto found = thumbnails_.find(displayID);
  return found == thumbnails_.end() ? nullptr : found->second;
}

std::optional<std::uint32_t> SourceEnumerator::fallbackDisplay() const {
  const auto main = std::ranges::find(content_.displays, true, &DisplayInfo::isMain);
  if (main != content_.displays.end()) return main->id;
  if (content_.displays.empty()) return std::nullopt;
  return content_.displays.front().id;
}

Task<> SourceEnumerator::enumerate() {
  const auto self = shared_from_this();
  auto listing = co_await runOn(queue_, list(self));
  assert(sequence_.isCurrent());
  auto windows = std::move(listing.content.windows);
  std::erase_if(windows, [](const WindowInfo& window) { return !isListed(window); });
  listing.content.windows = sorted(std::move(windows));
  if (listing.content == content_ && listing.problem == problem_) co_return;
  content_ = std::move(listing.content);
  problem_ = std::move(listing.problem);
  changed.emit();
}

void SourceEnumerator::start() {
  assert(sequence_.isCurrent());
  startDetached(mainThread_, repeat(weak_from_this(), ++run_));
}

void SourceEnumerator::stop() {
  assert(sequence_.isCurrent());
  ++run_;
  thumbnails_.clear();
}

bool SourceEnumerator::isListed(const WindowInfo& window) {
  constexpr double smallest = 80;  // points
  return !window.appName.empty() && window.isOnScreen && window.layer == 0 && !window.title.empty() &&
         window.frame.width >= smallest && window.frame.height >= smallest &&
         window.appID != SystemApplications::ownID && !SystemApplications::contains(window.appID);
}

std::vector<WindowInfo> SourceEnumerator::sorted(std::vector<WindowInfo> windows) {
  const TextCollator collator;
  std::ranges::stable_sort(windows, [&](const WindowInfo& first, const WindowInfo& second) {
    return collator.isBefore(first.appName, second.appName);
  });
  return windows;
}

std::string SourceEnumerator::title(const WindowInfo& window) {
  const auto text = Text::withoutBrokenBytes(window.title);
  const auto trimmed = Text::trimmed(text);
  return trimmed.empty() ? "Untitled" : std::string(trimmed);
}

Task<SourceEnumerator::Listing> SourceEnumerator::list(std::shared_ptr<SourceEnumerator> self) {
  Listing listing;
  try {
    listing.content = self->environment_.content();
  } catch (const Error& error) {
    listing.problem = error.description();
  }
  co_return listing;
}

Task<SourceEnumerator::Thumbnails> SourceEnumerator::takePictures(std::shared_ptr<SourceEnumerator> self,
                                                                  std::vector<std::uint32_t> displays) {
  Thumbnails pictures;
  for (const auto display : displays) {
    try {
      pictures[display] = self->environment_.thumbnail(display);
    } catch (const Error&) {  // a tile without a picture says enough
    }
  }
  co_return pictures;
}

Task<> SourceEnumerator::repeat(std::weak_ptr<SourceEnumerator> weak, std::uint64_t run) {
  for (;;) {
    auto self = weak.lock();
    if (!self || self->run_ != run) co_return;
    co_await self->enumerate();
    std::vector<std::uint32_t> displays;
    for (const auto& display : self->content_.displays) displays.push_back(display.id);
    auto pictures = co_await runOn(self->queue_, takePictures(self, std::move(displays)));
    if (self->run_ != run) co_return;
    self->thumbnails_ = std::move(pictures);
    self->changed.emit();
    const auto interval = self->environment_.interval;
    self.reset();  // it may go meanwhile
    co_await sleepFor(interval);
  }
}

}  // namespace quillant
