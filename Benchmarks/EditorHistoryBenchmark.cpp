// What a history without limit costs: 5,000 edits on an hour's recording with 200 clips, 60 voice clips and a
// transcript of 9,000 words, recorded, undone and redone. Time is the processor's, per edit; memory is what
// the process grew by at its peak.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <ctime>
#include <fstream>
#include <malloc.h>
#include <string>

#include "Editor/Timeline/TimelineClipList.h"
#include "Editor/Timeline/TimelineEditDriver.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {
namespace {

constexpr double duration = 3600;
constexpr std::size_t edits = 5000;

/// Kilobytes of this process, by the kernel's name for them.
double processMemory(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with(name)) return std::stod(line.substr(name.size() + 1));
  return 0;
}

double processorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

void resetPeakMemory() {
  malloc_trim(0);  // or this run would grow into what the run before it left
  std::ofstream("/proc/self/clear_refs") << 5;
}

using Edit = TimelineEditEvent (*)(GeneratedEdits&, const TimelineEditState&);

/// Every edit of a clip copies the list of clips.
TimelineEditEvent clipEdit(GeneratedEdits& generated, const TimelineEditState& state) {
  const auto clips = state.snapshot.effectiveClips(duration);
  const auto& id = clips[generated.below(clips.size())].id;
  const double at = generated.time(0, TimelineClipList::outputDuration(clips));
  // What cuts and splits add goes again, the shortest clip first, so that the project stays as large as it
  // is.
  if (clips.size() > 200)
    return TimelineEvents::DeleteClip{std::ranges::min_element(clips, {}, &TimelineClip::outputLength)->id,
                                      duration};
  switch (generated.below(4)) {
    case 0:
      return TimelineEvents::DeleteOutputRange{at, at + 0.3, duration};
    case 1:
      return TimelineEvents::SplitClip{at, duration};
    case 2:
      return TimelineEvents::MoveClip{id, static_cast<std::int64_t>(generated.below(200)), duration};
    default:
      return TimelineEvents::SetClipSpeed{id, generated.speed(), duration};
  }
}

TimelineEditEvent wordEdit(GeneratedEdits& generated, const TimelineEditState& state) {
  const auto word = generated.below(state.snapshot.captions->transcripts[0].words.size());
  return TimelineEvents::ReplaceCaptionWords{0, word, word,
                                             "word" + std::to_string(generated.below(100'000))};
}

/// As a user would: mostly clips, then zooms, sounds, and a word in one of `corrections` edits.
template <std::size_t corrections>
TimelineEditEvent mixedEdit(GeneratedEdits& generated, const TimelineEditState& state) {
  const auto& edit = state.snapshot;
  if (generated.below(corrections) == 0) return wordEdit(generated, state);
  switch (generated.below(10)) {
    case 0:
    case 1:
      return TimelineEvents::UpdateZoomFocus{edit.zoomRegions[generated.below(edit.zoomRegions.size())].id,
                                             generated.time(0, 1), generated.time(0, 1)};
    case 2:
      return TimelineEvents::SetAllVoiceClips{generated.time(0, 1)};
    default:
      return clipEdit(generated, state);
  }
}

void measure(benchmark::State& run, Edit edit) {
  for (auto _ : run) {
    run.PauseTiming();
    GeneratedEdits generated(11);
    auto project = generated.snapshot(duration, {.clips = 200, .zooms = 100, .audioClips = 60});
    project.captions = generated.captions(9000);
    double slowest = 0;
    const auto time = [&slowest](const auto& action) {
      const double start = processorSeconds();
      action();
      const double passed = processorSeconds() - start;
      slowest = std::max(slowest, passed);
      return passed;
    };
    resetPeakMemory();
    const double before = processMemory("VmRSS:");
    double editing = 0, undoing = 0;
    {
      TimelineEditDriver driver([](const auto&) { return std::nullopt; });
      driver.applySnapshot(project);
      while (driver.history().undoStack.size() < edits) {
        const auto event = edit(generated, driver.state());
        editing += time([&] { driver.send(event, RecordsUndo::yes); });
      }
      run.counters["slowest edit, us"] = slowest * 1e6;
      while (driver.history().canUndo()) undoing += time([&] { driver.undo(); });
      while (driver.history().canRedo()) undoing += time([&] { driver.redo(); });
      run.counters["peak, MB"] = (processMemory("VmHWM:") - before) / 1000;
    }
    run.counters["edit, us"] = editing / edits * 1e6;
    run.counters["undo or redo, us"] = undoing / edits / 2 * 1e6;
    run.ResumeTiming();
    run.SetIterationTime(editing);
  }
}

BENCHMARK_CAPTURE(measure, mixed, mixedEdit<50>)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(measure, correcting, mixedEdit<10>)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(measure, clips, clipEdit)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(measure, words, wordEdit)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quillant
