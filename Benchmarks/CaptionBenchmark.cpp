#include <benchmark/benchmark.h>
#include <string>

#include "Editor/Composition/CaptionRenderer.h"

// What captions cost: a frame in which nothing of them changes, and the drawing of a word that is picked out.

namespace {

using namespace quillant;

PreparedCaptions captions(TimelineCaptionStyle style) {
  CaptionBlock block{.start = 0, .end = 1e9};
  for (int i = 0; i < 12; ++i) block.words.push_back({"words" + std::to_string(i), i * 1.0, i + 1.0});
  block.lines = {{0, 5}, {6, 11}};
  return PreparedCaptions({std::vector(1000, block), style});
}

Size canvas(const benchmark::State& state) {
  const auto height = static_cast<double>(state.range(0));
  return {height * 16 / 9, height};
}

void sameWord(benchmark::State& state) {
  const auto plan = captions(TimelineCaptionStyle::box);
  CaptionRenderer renderer;
  for (auto _ : state) benchmark::DoNotOptimize(renderer.image(plan, 5.5, canvas(state)));
}

void nextWord(benchmark::State& state) {
  const auto plan = captions(static_cast<TimelineCaptionStyle>(state.range(1)));
  for (auto _ : state) {
    CaptionRenderer renderer;
    benchmark::DoNotOptimize(renderer.image(plan, 5.5, canvas(state)));
  }
}

BENCHMARK(sameWord)->Arg(1080)->Arg(2160);
BENCHMARK(nextWord)->ArgsProduct({{480, 1080, 2160}, {0, 1, 2}})->Unit(benchmark::kMillisecond);

}  // namespace
