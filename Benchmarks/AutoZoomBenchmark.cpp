#include <algorithm>
#include <benchmark/benchmark.h>
#include <random>

#include "Editor/Timeline/AutoZoomGenerator.h"

// An hour of the pointer at 60 samples a second, wandering and resting.

namespace quillant {

namespace {

CursorTelemetryPayload anHour(std::int64_t clicks) {
  CursorTelemetryPayload payload{.width = 2560, .height = 1440};
  std::mt19937 random(7);
  std::uniform_int_distribution<std::int64_t> step(-6, 6);
  constexpr std::int64_t samples = 216'000;
  std::uniform_int_distribution<std::int64_t> anySample(0, samples - 1);
  std::int64_t x = 1280;
  std::int64_t y = 720;
  for (std::int64_t i = 0; i < samples; ++i) {
    const bool rests = i / 300 % 2 == 0;
    x = std::clamp<std::int64_t>(x + (rests ? 0 : step(random)), 0, 2559);
    y = std::clamp<std::int64_t>(y + (rests ? 0 : step(random)), 0, 1439);
    payload.samples.push_back({x, y, i * 1000 / 60});
    if (anySample(random) < clicks) payload.clicks.push_back({x, y, i * 1000 / 60});
  }
  return payload;
}

void generate(benchmark::State& state, TimelineZoomAnimationPreset preset) {
  const auto payload = anHour(state.range(0));
  std::size_t zooms = 0;
  for (auto _ : state) {
    const auto result = AutoZoomGenerator::generate(payload, 3600, preset);
    zooms = result.size();
    benchmark::DoNotOptimize(result.data());
  }
  state.counters["zooms"] = static_cast<double>(zooms);
}

void balanced(benchmark::State& state) {
  generate(state, TimelineZoomAnimationPreset::balanced);
}
/// The only preset that also looks at movement; without clicks it looks at all of it.
void guided(benchmark::State& state) {
  generate(state, TimelineZoomAnimationPreset::guided);
}

BENCHMARK(balanced)->Arg(0)->Arg(100)->Arg(1000)->Arg(5000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(guided)->Arg(0)->Arg(100)->Arg(1000)->Arg(5000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quillant
