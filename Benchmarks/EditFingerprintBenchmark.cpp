// What it costs to tell whether an edit is the one that a link shows: asked at each change of a project that
// was shared.

#include <benchmark/benchmark.h>
#include <vector>

#include "Editor/Project/EditFingerprint.h"

namespace quillant {
namespace {

void fingerprint(benchmark::State& state) {
  std::vector<TimelineClip> clips;
  for (std::int64_t i = 0; i < state.range(0); ++i)
    clips.push_back({.id = UUID::random(),
                     .start = 0.5 * static_cast<double>(i),
                     .end = 0.5 * static_cast<double>(i) + 0.4});
  TimelineEditSnapshot edits;
  edits.setClips(clips, 0.5 * static_cast<double>(clips.size()));
  const ProjectVideoEditorState video;
  for (auto _ : state) benchmark::DoNotOptimize(editFingerprint(edits, video));
}

BENCHMARK(fingerprint)->Arg(10)->Arg(500)->Arg(12'000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quillant
