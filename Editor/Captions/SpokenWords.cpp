#include "Editor/Captions/SpokenWords.h"

#include <algorithm>
#include <numeric>
#include <tuple>

#include "Core/CopyOnWrite.h"
#include "Editor/Composition/RecordingAudioTracks.h"
#include "Editor/Timeline/TimelineTolerances.h"

namespace quillant::SpokenWords {

namespace {

using Segment = TimelineExportEditPlan::Segment;

void appendRow(std::vector<Stretch>& stretches, const std::string& source,
               const CopyOnWriteVector<TimelineAudioClip>& row, double outputDuration) {
  for (const auto& clip : row) {
    if (clip.source != source || clip.muted) continue;
    const double end =
        std::min(clip.sourceEnd, clip.sourceStart + (outputDuration - clip.start) * clip.rate());
    if (!(end - clip.sourceStart > timeTolerance)) continue;
    stretches.push_back({.source = {clip.sourceStart, end},
                         .outputStart = clip.start,
                         .rate = clip.rate(),
                         .muted = !(clip.volume > 0),
                         .segment = {},
                         .clipStart = clip.start});
  }
}

}  // namespace

std::vector<Stretch> stretches(const TimelineTranscript& transcript, const TimelineEditSnapshot& edits,
                               const TimelineExportEditPlan& plan) {
  std::vector<Stretch> result;
  const bool isPrimary = transcript.source == primarySourceKey;
  for (std::size_t i = 0; i < plan.segments.size(); ++i) {
    const Segment& segment = plan.segments[i];
    if (isPrimary ? segment.source.has_value() : segment.source != transcript.source) continue;
    result.push_back({.source = {segment.sourceStart, segment.sourceEnd},
                      .outputStart = segment.outputStart,
                      .rate = segment.rate(),
                      .muted = !(RecordingAudioTracks::volume(segment, transcript.track, edits) > 0),
                      .segment = i,
                      .clipStart = {}});
  }
  if (!edits.isMuted(TimelineMuteRow::voice))
    appendRow(result, transcript.source, edits.audioClips, plan.outputDuration);
  if (!edits.isMuted(TimelineMuteRow::music))
    appendRow(result, transcript.source, edits.musicClips, plan.outputDuration);
  return result;
}

std::vector<Word> played(const TimelineTranscript& transcript, const std::vector<Stretch>& stretches) {
  // Stretches by where they begin in the source, each with the furthest end of it and all before it: the
  // search for those that hold a moment walks back from the last that begins early enough until none can
  // reach it.
  std::vector<std::size_t> order(stretches.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::ranges::stable_sort(order, {}, [&](std::size_t i) { return stretches[i].source.start; });
  std::vector<double> furthestEnd;
  for (const auto i : order)
    furthestEnd.push_back(std::max(furthestEnd.empty() ? stretches[i].source.end : furthestEnd.back(),
                                   stretches[i].source.end));

  std::vector<Word> words;
  std::size_t index = 0;
  for (const auto& word : transcript.words) {
    const double middle = (word.start + word.end) * 0.5 + tieTolerance;
    auto place = static_cast<std::size_t>(
        std::ranges::upper_bound(order, middle, {},
                                 [&](std::size_t i) { return stretches[i].source.start; }) -
        order.begin());
    for (; place > 0 && furthestEnd[place - 1] > middle; --place) {
      const auto& stretch = stretches[order[place - 1]];
      if (!(stretch.source.end > middle)) continue;
      const double start = stretch.outputTime(std::max(word.start, stretch.source.start));
      const double end = stretch.outputTime(std::min(word.end, stretch.source.end));
      words.push_back({index, start, std::max(start, end), order[place - 1]});
    }
    ++index;
  }
  std::ranges::stable_sort(words, {}, [](const Word& word) { return std::tuple(word.start, word.index); });
  return words;
}

bool endsSentence(const TimelineCaptionWord& word) {
  return word.text.ends_with('.') || word.text.ends_with('?') || word.text.ends_with('!');
}

bool isSeparate(double end, double start) {
  return start - end >= separatingGap - tieTolerance;
}

}  // namespace quillant::SpokenWords
