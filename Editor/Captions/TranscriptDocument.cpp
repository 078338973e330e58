#include "Editor/Captions/TranscriptDocument.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <iterator>
#include <tuple>
#include <utility>

#include "Editor/Captions/SpokenWords.h"
#include "Editor/Composition/TimelineExportEditPlan.h"
#include "Editor/Timeline/TimelineTolerances.h"

namespace quillant {

namespace {

long long milliseconds(double seconds) {
  return std::llround(seconds * 1000);
}

}  // namespace

std::string transcriptItemID(const TranscriptItem& item) {
  struct Naming {
    std::string operator()(const TranscriptWordItem& word) const {
      return fmt::format("{}-{}-{}", word.transcript, word.word, milliseconds(word.start));
    }
    std::string operator()(const TranscriptPauseItem& pause) const {
      return fmt::format("pause-{}", milliseconds(pause.start));
    }
    std::string operator()(const TranscriptRemovedItem& removed) const {
      return fmt::format("{}-removed-{}", removed.transcript, removed.words.first);
    }
    std::string operator()(const TranscriptPendingItem& pending) const { return "pending-" + pending.source; }
  };
  return std::visit(Naming{}, item);
}

namespace TranscriptDocument {

namespace {

using SpokenWords::Stretch;

/// The removed runs that stand before and after one play of a word: indexes into `Voice::removed`.
struct Neighbours {
  std::vector<std::size_t> before;
  std::vector<std::size_t> after;
};

/// A transcript, and where its words are heard and where they are not.
struct Voice {
  const TimelineTranscript* transcript = nullptr;
  std::size_t index = 0;
  std::vector<Stretch> stretches;
  std::vector<SpokenWords::Word> played;       ///< By output start.
  std::vector<TranscriptRemovedItem> removed;  ///< By index of their words.
  std::vector<Neighbours> neighbours;          ///< One for each of `played`.
  std::vector<std::size_t> unanchored;         ///< Those of `removed` that stand beside no word.
};

/// One play of one word, among those of all voices.
struct Played {
  const Voice* voice = nullptr;
  std::size_t place = 0;  ///< In `Voice::played`.

  const SpokenWords::Word& word() const { return voice->played[place]; }
};

/// A paragraph, and the output time by which it is sorted.
struct Placed {
  double start = 0;
  TranscriptParagraph paragraph;
};

std::vector<Played> inOrder(const std::vector<Voice>& voices) {
  std::vector<Played> all;
  for (const Voice& voice : voices)
    for (std::size_t place = 0; place < voice.played.size(); ++place) all.push_back({&voice, place});
  std::ranges::stable_sort(all, {}, [](const Played& played) {
    return std::tuple(played.word().start, played.voice->index, played.word().index);
  });
  return all;
}

/// The runs of neighbouring words that are not played.
std::vector<TranscriptRemovedItem> removedRuns(const Voice& voice) {
  std::vector<bool> isPlayed(voice.transcript->words.size(), false);
  for (const auto& word : voice.played) isPlayed[word.index] = true;
  std::vector<TranscriptRemovedItem> runs;
  std::size_t index = 0;
  for (const auto& word : voice.transcript->words) {
    const auto current = index++;
    if (isPlayed[current]) continue;
    if (runs.empty() || runs.back().words.last + 1 != current)
      runs.push_back(
          {.transcript = voice.index, .words = {current, current}, .texts = {}, .sourceStart = word.start});
    runs.back().words.last = current;
    runs.back().texts.push_back(word.text);
    runs.back().sourceEnd = word.end;
  }
  return runs;
}

/// Puts each removed run beside the play that both its neighbours have kept, else after the word before it,
/// else before the word after it.
void anchorRemoved(Voice& voice) {
  voice.neighbours.resize(voice.played.size());
  if (voice.removed.empty()) return;
  std::vector<std::vector<std::size_t>> places(voice.transcript->words.size());
  for (std::size_t place = 0; place < voice.played.size(); ++place)
    places[voice.played[place].index].push_back(place);
  for (std::size_t i = 0; i < voice.removed.size(); ++i) {
    const auto& words = voice.removed[i].words;
    const auto next = words.last + 1;
    if (words.first > 0 && !places[words.first - 1].empty()) {
      const auto& candidates = places[words.first - 1];
      const auto kept = std::ranges::find_if(candidates, [&](std::size_t place) {
        return place + 1 < voice.played.size() && voice.played[place + 1].index == next;
      });
      voice.neighbours[kept == candidates.end() ? candidates.front() : *kept].after.push_back(i);
    } else if (next < places.size() && !places[next].empty()) {
      voice.neighbours[places[next].front()].before.push_back(i);
    } else {
      voice.unanchored.push_back(i);
    }
  }
}

std::vector<Voice> voices(const TimelineEditSnapshot& edits, const TimelineExportEditPlan& plan) {
  std::vector<Voice> voices;
  if (!edits.captions) return voices;
  for (const auto& transcript : edits.captions->transcripts) {
    Voice& voice = voices.emplace_back();
    voice.transcript = &transcript;
    voice.index = voices.size() - 1;
    voice.stretches = SpokenWords::stretches(transcript, edits, plan);
    voice.played = SpokenWords::played(transcript, voice.stretches);
    voice.removed = removedRuns(voice);
    anchorRemoved(voice);
  }
  return voices;
}

/// The seam of the output at which a stretch of source that is not played would begin.
double seam(const std::vector<Stretch>& stretches, double sourceStart, double outputDuration) {
  const Stretch* before = nullptr;
  const Stretch* after = nullptr;
  for (const auto& stretch : stretches) {
    if (stretch.source.end <= sourceStart + timeTolerance) {
      if (!before || stretch.source.end > before->source.end) before = &stretch;
    } else if (!after || stretch.source.start < after->source.start) {
      after = &stretch;
    }
  }
  if (before) return before->outputEnd();
  return after ? after->outputStart : outputDuration;
}

/// Walks the words of all voices in order of time, and writes them into paragraphs.
class Writer {
 public:
  explicit Writer(std::vector<Placed>& paragraphs) : paragraphs_(paragraphs) {}

  void write(const Played& played) {
    const Voice& voice = *played.voice;
    const auto& word = played.word();
    const auto& neighbours = voice.neighbours[played.place];
    if (heardUntil_ && word.start - *heardUntil_ >= shownPause - SpokenWords::tieTolerance)
      items().push_back(TranscriptPauseItem{*heardUntil_, word.start});
    if (beginsParagraph(played)) begin(played);
    for (const auto i : neighbours.before) items().push_back(voice.removed[i]);
    items().push_back(TranscriptWordItem{voice.index, word.index, voice.transcript->words[word.index].text,
                                         word.start, word.end});
    for (const auto i : neighbours.after) items().push_back(voice.removed[i]);
    last_ = played;
    heardUntil_ = std::max(heardUntil_.value_or(word.end), word.end);
  }

 private:
  std::vector<TranscriptItem>& items() { return paragraphs_.back().paragraph.items; }

  bool beginsParagraph(const Played& played) const {
    if (!last_ || last_->voice != played.voice) return true;
    const auto& last = last_->word();
    return SpokenWords::endsSentence(played.voice->transcript->words[last.index]) ||
           SpokenWords::isSeparate(last.end, played.word().start);
  }

  void begin(const Played& played) {
    const Voice& voice = *played.voice;
    const auto& stretch = voice.stretches[played.word().stretch];
    const double start = played.word().start;
    paragraphs_.push_back({start,
                           {.id = fmt::format("{}-{}", voice.index, milliseconds(start)),
                            .transcript = voice.index,
                            .source = voice.transcript->source,
                            .track = voice.transcript->track,
                            .isVoiceRow = stretch.clipStart.has_value(),
                            .clipStart = stretch.clipStart,
                            .items = {}}});
  }

  std::vector<Placed>& paragraphs_;
  std::optional<Played> last_;
  std::optional<double> heardUntil_;  ///< By any voice.
};

bool isAudioSource(const TimelineEditSnapshot& edits, const std::string& source) {
  return std::ranges::any_of(edits.audioSources, [&](const auto& audio) { return audio.id == source; });
}

/// Whose words a source waits for, as far as the edit tells: of a recording the microphone's, and once those
/// are there the system's.
TimelineTranscriptTrack awaitedTrack(const std::string& source, const TimelineEditSnapshot& edits) {
  using Track = TimelineTranscriptTrack;
  const bool isRecording =
      source == primarySourceKey || std::ranges::any_of(edits.sources, [&](const TimelineSource& added) {
        return added.id == source && added.kind == TimelineSource::Kind::recording;
      });
  if (!isRecording) return Track::audio;
  return edits.captions && edits.captions->transcriptIndex(source, Track::mic) ? Track::system : Track::mic;
}

Placed pendingParagraph(const std::string& source, const TimelineEditSnapshot& edits,
                        const TimelineExportEditPlan& plan) {
  const TimelineTranscript awaited{
      .source = source, .track = awaitedTrack(source, edits), .language = {}, .words = {}};
  const auto stretches = SpokenWords::stretches(awaited, edits, plan);
  const auto first = std::ranges::min_element(stretches, {}, &Stretch::outputStart);
  const bool isPlayed = first != stretches.end();
  const TranscriptPendingItem item{isPlayed ? first->outputStart : plan.outputDuration, source};
  return {item.start,
          {.id = transcriptItemID(item),
           .transcript = {},
           .source = source,
           .track = awaited.track,
           .isVoiceRow = isAudioSource(edits, source),
           .clipStart = isPlayed ? first->clipStart : std::nullopt,
           .items = {item}}};
}

/// The paragraph of a removed run of which neither neighbour plays.
Placed removedParagraph(const Voice& voice, const TranscriptRemovedItem& run,
                        const TimelineEditSnapshot& edits, double outputDuration) {
  return {seam(voice.stretches, run.sourceStart, outputDuration),
          {.id = transcriptItemID(run),
           .transcript = voice.index,
           .source = voice.transcript->source,
           .track = voice.transcript->track,
           .isVoiceRow = isAudioSource(edits, voice.transcript->source),
           .clipStart = {},
           .items = {run}}};
}

std::set<WordKey> mutedWords(const std::vector<Voice>& voices) {
  std::set<WordKey> muted;
  std::set<WordKey> heard;
  for (const Voice& voice : voices)
    for (const auto& word : voice.played)
      (voice.stretches[word.stretch].muted ? muted : heard).insert({voice.index, word.index});
  for (const auto& key : heard) muted.erase(key);
  return muted;
}

constexpr double breath = 0.15;  ///< Seconds of silence that speech wants beside it.

/// How much of the silence beside a cut stays. What touches has none, what overlaps neither.
double keptOf(double gap) {
  if (gap < timeTolerance) return 0;
  if (gap >= 0.5 - SpokenWords::tieTolerance) return breath;
  if (gap >= 0.3 - SpokenWords::tieTolerance) return (gap - breath) / 2;
  return gap;
}

}  // namespace

Document document(const TimelineEditSnapshot& edits, double duration, const std::set<std::string>& pending) {
  const auto plan = TimelineExportEditPlan::build(duration, edits.withClipSounds(duration));
  const auto all = voices(edits, plan);
  std::vector<Placed> paragraphs;
  for (const Voice& voice : all)
    for (const auto i : voice.unanchored)
      paragraphs.push_back(removedParagraph(voice, voice.removed[i], edits, plan.outputDuration));
  Writer writer(paragraphs);
  for (const auto& played : inOrder(all)) writer.write(played);
  for (const auto& source : pending) paragraphs.push_back(pendingParagraph(source, edits, plan));
  std::ranges::stable_sort(paragraphs, {}, &Placed::start);

  Document document{.paragraphs = {}, .muted = mutedWords(all)};
  document.paragraphs.reserve(paragraphs.size());
  for (auto& placed : paragraphs) document.paragraphs.push_back(std::move(placed.paragraph));
  return document;
}

std::optional<TimelineSpan> restored(const TimelineEditSnapshot& edits, double duration,
                                     const TranscriptRemovedItem& item) {
  if (!edits.captions || item.transcript >= edits.captions->transcripts.size()) return std::nullopt;
  const auto& transcript = edits.captions->transcripts[item.transcript];
  if (item.words.last >= transcript.words.size()) return std::nullopt;
  TimelineSpan span{item.sourceStart, item.sourceEnd};
  std::optional<double> playsUntil;
  std::optional<double> playsFrom;
  const auto stretches =
      SpokenWords::stretches(transcript, edits, TimelineExportEditPlan::build(duration, edits));
  for (const auto& stretch : stretches) {
    const auto& plays = stretch.source;
    if (plays.start < span.start)
      playsUntil = std::max(playsUntil.value_or(plays.start), std::min(plays.end, span.start));
    if (plays.end > span.end)
      playsFrom = std::min(playsFrom.value_or(plays.end), std::max(plays.start, span.end));
  }
  const auto words = SpokenWords::played(transcript, stretches);
  const auto isPlayed = [&](std::size_t index) {
    return std::ranges::find(words, index, &SpokenWords::Word::index) != words.end();
  };
  if (item.words.first > 0 && isPlayed(item.words.first - 1)) span.start = playsUntil.value_or(span.start);
  if (isPlayed(item.words.last + 1)) span.end = playsFrom.value_or(span.end);
  return span;
}

Cut cut(TimelineSpan selected, std::span<const TimelineSpan> spoken, double videoEnd) {
  // Speech that begins before the selection and speech that ends after it; what lies inside is no neighbour.
  std::optional<double> before;
  std::optional<double> after;
  for (const auto& span : spoken) {
    if (span.start < selected.start - timeTolerance) before = std::max(before.value_or(span.end), span.end);
    if (span.end > selected.end + timeTolerance) after = std::min(after.value_or(span.start), span.start);
  }

  Cut cut{selected.start, std::min(selected.end, videoEnd), 0};
  if (!before && !after) {
    if (!(selected.length() > 2 * breath + SpokenWords::tieTolerance)) return cut;
    return {selected.start + breath, std::min(selected.end - breath, videoEnd), 2 * breath};
  }
  if (before) {
    const double gap = selected.start - *before;
    const double kept = keptOf(gap);
    if (gap > kept) cut.start = *before + kept;
    cut.keptGap += kept;
  }
  if (after) {
    const double gap = *after - selected.end;
    const double kept = keptOf(gap);
    if (gap > kept) cut.end = std::min(*after - kept, videoEnd);
    cut.keptGap += kept;
  }
  return cut;
}

}  // namespace TranscriptDocument
}  // namespace quillant
