#include <benchmark/benchmark.h>
#include <string>

#include "Editor/Captions/TranscriptDocument.h"
#include "Editor/Captions/TranscriptSelection.h"
#include "Editor/Timeline/TimelineEditEvent.h"
#include "Editor/Timeline/TimelineEditState.h"

namespace quillant {

namespace {

constexpr double wordInterval = 0.36;
constexpr int pausesEvery = 12;  ///< Words.

double durationOf(std::int64_t words) {
  return wordInterval * static_cast<double>(words);
}

TimelineEditEvent cut(double start, double duration) {
  return TimelineEvents::DeleteOutputRange{start, start + 2, duration};
}

/// Speech in sentences, with `cuts` stretches of it taken out.
TimelineEditState edited(std::int64_t words, int cuts) {
  std::vector<TimelineCaptionWord> spoken;
  for (std::int64_t i = 0; i < words; ++i) {
    const double start = wordInterval * static_cast<double>(i);
    const bool ends = i % pausesEvery == pausesEvery - 1;
    spoken.push_back(
        {start, start + (ends ? 0.2 : 0.3), "word" + std::to_string(i % 97) + (ends ? "." : "")});
  }
  TimelineEditState state;
  state.snapshot.captions.emplace().setTranscript(
      {.source = "primary", .language = "en-US", .words = std::move(spoken)});
  const double duration = durationOf(words);
  for (int i = cuts; i > 0; --i) {
    const double start = duration * i / (cuts + 1);
    state.applying(cut(start, duration));
  }
  return state;
}

/// What the editor does after every change: the text is made afresh.
void rebuildAfterACut(benchmark::State& state) {
  const auto start = edited(state.range(0), static_cast<int>(state.range(1)));
  const double duration = durationOf(state.range(0));
  for (auto _ : state) {
    auto now = start;
    now.applying(cut(10, duration));
    benchmark::DoNotOptimize(TranscriptDocument::document(now.snapshot, duration, {}));
  }
}
BENCHMARK(rebuildAfterACut)->Args({20'000, 0})->Args({20'000, 200})->Unit(benchmark::kMillisecond);

void cutASelection(benchmark::State& state) {
  const auto edit = edited(state.range(0), 200);
  const auto document = TranscriptDocument::document(edit.snapshot, durationOf(state.range(0)), {});
  const auto middle = document.paragraphs.size() / 2;
  const TranscriptSelection selection{transcriptItemID(document.paragraphs[middle].items.front()),
                                      transcriptItemID(document.paragraphs[middle + 3].items.front())};
  for (auto _ : state)
    benchmark::DoNotOptimize(TranscriptDocument::cut(document, selection, durationOf(state.range(0))));
}
BENCHMARK(cutASelection)->Arg(20'000)->Unit(benchmark::kMillisecond);

}  // namespace

}  // namespace quillant
