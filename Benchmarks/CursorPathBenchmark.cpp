#include <benchmark/benchmark.h>

#include "Editor/Composition/CursorStyleRenderer.h"
#include "Editor/Composition/CursorTelemetryTrack.h"
#include "Editor/Project/CursorStyleRegistry.h"

// An hour's pointer with 5,000 clicks: its path is built once, then looked up once a frame.

namespace quillant {

namespace {

constexpr std::int64_t samples = 216'000;
constexpr std::int64_t clicks = 5'000;
constexpr double duration = 3600;

CursorTelemetryTrack anHour() {
  CursorTelemetryPayload payload{.width = 2560, .height = 1440};
  for (std::int64_t i = 0; i < samples; ++i) {
    payload.samples.push_back({i * 7 % 2560, i * 5 % 1440, i * 1000 / 60});
    if (i % (samples / clicks) == 0) payload.clicks.push_back({i * 7 % 2560, i * 5 % 1440, i * 1000 / 60});
  }
  return CursorTelemetryTrack(std::move(payload));
}

/// By the smoothing in hundredths.
void buildPath(benchmark::State& state) {
  auto track = anHour();
  const double smoothing = static_cast<double>(state.range(0)) / 100;
  for (auto _ : state) {
    track.smoothedPaths = std::make_shared<SmoothedCursorPathCache>();
    benchmark::DoNotOptimize(track.smoothedPath(smoothing));
  }
}
BENCHMARK(buildPath)->Arg(10)->Arg(40)->Arg(200)->Unit(benchmark::kMillisecond);

/// By the step between two questions in milliseconds: frames in order, and leaps as a user scrubs.
void point(benchmark::State& state) {
  const auto track = anHour();
  const double step = static_cast<double>(state.range(0)) / 1000;
  double time = 0;
  track.smoothedPath(0.4);
  for (auto _ : state) {
    benchmark::DoNotOptimize(track.point(time, false, 0.4));
    time += step;
    if (time > duration) time -= duration;
  }
}
BENCHMARK(point)->Arg(16)->Arg(777'777);

/// By the glyph's size in pixels, the styles in turn.
void renderGlyph(benchmark::State& state) {
  const auto& styles = CursorStyleRegistry::styles();
  std::size_t next = 0;
  for (auto _ : state)
    benchmark::DoNotOptimize(CursorStyleRenderer::renderedGlyph(styles[next++ % styles.size()].id,
                                                                static_cast<double>(state.range(0))));
}
BENCHMARK(renderGlyph)->Arg(20)->Arg(160)->Arg(640)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quillant
