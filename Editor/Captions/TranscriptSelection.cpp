#include "Editor/Captions/TranscriptSelection.h"

#include <algorithm>
#include <utility>

namespace quillant {

TranscriptSelection TranscriptSelection::afterClick(const std::optional<TranscriptSelection>& before,
                                                    std::string item, Extends extends) {
  if (before && extends == Extends::yes) return {before->anchor, std::move(item)};
  return {item, item};
}

namespace TranscriptDocument {

namespace {

struct Place {
  const TranscriptParagraph* paragraph = nullptr;
  const TranscriptItem* item = nullptr;
};

/// Every item, in the order of reading.
std::vector<Place> places(const Document& document) {
  std::vector<Place> places;
  for (const auto& paragraph : document.paragraphs)
    for (const auto& item : paragraph.items) places.push_back({&paragraph, &item});
  return places;
}

using Range = std::pair<std::vector<Place>::const_iterator, std::vector<Place>::const_iterator>;

/// The selected ones; nothing if either end is gone.
Range selectedOf(const std::vector<Place>& places, const TranscriptSelection& selection) {
  const auto find = [&](const std::string& id) {
    return std::ranges::find(places, id, [](const Place& place) { return transcriptItemID(*place.item); });
  };
  auto first = find(selection.anchor);
  auto last = find(selection.head);
  if (last < first) std::swap(first, last);
  if (last == places.end()) return {last, last};
  return {first, last + 1};
}

std::optional<SelectedSpeech> speechIn(Range range) {
  std::optional<SelectedSpeech> speech;
  const auto hear = [&](double start, double end) {
    if (!speech) speech.emplace(SelectedSpeech{.span = {start, end}, .voices = {}});
    speech->span = {std::min(speech->span.start, start), std::max(speech->span.end, end)};
  };
  for (auto place = range.first; place != range.second; ++place) {
    if (const auto* pause = std::get_if<TranscriptPauseItem>(place->item)) hear(pause->start, pause->end);
    if (const auto* word = std::get_if<TranscriptWordItem>(place->item)) {
      hear(word->start, word->end);
      auto& voices = speech->voices;
      if (voices.empty() || voices.back() != place->paragraph) voices.push_back(place->paragraph);
    }
  }
  return speech;
}

}  // namespace

std::optional<SelectedSpeech> selected(const Document& document, const TranscriptSelection& selection) {
  const auto all = places(document);
  return speechIn(selectedOf(all, selection));
}

std::optional<Cut> cut(const Document& document, const TranscriptSelection& selection, double videoEnd) {
  const auto all = places(document);
  const auto range = selectedOf(all, selection);
  const auto speech = speechIn(range);
  if (!speech) return std::nullopt;
  std::vector<TimelineSpan> spoken;
  if (!speech->voices.empty()) {
    const auto collect = [&](const Place& place) {
      const auto* word = std::get_if<TranscriptWordItem>(place.item);
      if (word && !document.muted.contains({word->transcript, word->word}))
        spoken.push_back({word->start, word->end});
    };
    std::for_each(all.begin(), range.first, collect);
    std::for_each(range.second, all.end(), collect);
  }
  return cut(speech->span, spoken, videoEnd);
}

}  // namespace TranscriptDocument
}  // namespace quillant
