#include <benchmark/benchmark.h>

#include "Editor/Composition/TimelineZoomCanvasTransform.h"
#include "Tests/Support/GeneratedEdits.h"

// Zooms of an hour's edit: prepared once an edit, looked up once a frame.

namespace quillant {

namespace {

constexpr double duration = 3600;

TimelineEditSnapshot edit(std::size_t clips, std::size_t zooms) {
  GeneratedEdits generated(11);
  TimelineEditSnapshot edits;
  edits.zoomRegions = generated.zooms(zooms, duration);
  for (auto& zoom : edits.zoomRegions.mutate()) zoom.source.reset();
  edits.clipList = CopyOnWriteVector<TimelineClip>(generated.plainClips(clips, duration));
  return edits;
}

CursorTelemetryTrack anHour() {
  CursorTelemetryPayload payload{.width = 2560, .height = 1440};
  for (std::int64_t i = 0; i < 216'000; ++i)
    payload.samples.push_back({i * 7 % 2560, i * 5 % 1440, i * 1000 / 60});
  return CursorTelemetryTrack(std::move(payload));
}

void buildPlan(benchmark::State& state) {
  const auto edits = edit(static_cast<std::size_t>(state.range(0)), 1000);
  for (auto _ : state) benchmark::DoNotOptimize(TimelineExportEditPlan::build(duration, edits));
}
BENCHMARK(buildPlan)->Arg(100)->Arg(1'000)->Arg(10'000)->Unit(benchmark::kMicrosecond);

void prepare(benchmark::State& state) {
  const auto edits = edit(static_cast<std::size_t>(state.range(0)), 1000);
  const auto plan = TimelineExportEditPlan::build(duration, edits);
  for (auto _ : state) benchmark::DoNotOptimize(TimelineZoomCanvasTransform(edits, plan));
}
BENCHMARK(prepare)->Arg(100)->Arg(1'000)->Arg(10'000)->Unit(benchmark::kMicrosecond);

/// By the number of zooms, all of them following the pointer; frames in order, as export asks for them.
void activeEffect(benchmark::State& state) {
  auto edits = edit(200, static_cast<std::size_t>(state.range(0)));
  for (auto& zoom : edits.zoomRegions.mutate()) zoom.followsCursor = true;
  const auto plan = TimelineExportEditPlan::build(duration, edits);
  const TimelineZoomCanvasTransform zooms(edits, plan);
  const auto track = anHour();
  double time = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(zooms.activeEffect(time, &track));
    time += 1.0 / 60;
    if (time > plan.outputDuration) time = 0;
  }
}
BENCHMARK(activeEffect)->Arg(100)->Arg(1'000)->Arg(10'000);

/// Frames from all over, as a user who scrubs asks for them.
void scrubbing(benchmark::State& state) {
  auto edits = edit(200, static_cast<std::size_t>(state.range(0)));
  for (auto& zoom : edits.zoomRegions.mutate()) zoom.followsCursor = true;
  const auto plan = TimelineExportEditPlan::build(duration, edits);
  const TimelineZoomCanvasTransform zooms(edits, plan);
  const auto track = anHour();
  GeneratedEdits random(3);
  std::vector<double> times;
  for (int i = 0; i < 4096; ++i) times.push_back(random.time(0, plan.outputDuration));
  std::size_t next = 0;
  for (auto _ : state) benchmark::DoNotOptimize(zooms.activeEffect(times[next++ % times.size()], &track));
}
BENCHMARK(scrubbing)->Arg(100)->Arg(1'000)->Arg(10'000);

}  // namespace
}  // namespace quillant
