#include <benchmark/benchmark.h>

#include "CaptureEngine/Telemetry/CursorTelemetryCodec.h"
#include "Core/JSON.h"

// An hour at 60 samples a second, with a click every two seconds.

namespace quillant {

namespace {

CursorTelemetryPayload anHour() {
  CursorTelemetryPayload payload{.width = 2560, .height = 1440};
  for (std::int64_t i = 0; i < 216'000; ++i) {
    const std::int64_t time = i * 1000 / 60;
    payload.samples.push_back({i * 7 % 2560, i * 5 % 1440, time});
    if (i % 120 == 0) payload.clicks.push_back({i * 7 % 2560, i * 5 % 1440, time});
  }
  return payload;
}

void report(benchmark::State& state, const std::string& text) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

void encode(benchmark::State& state) {
  const auto payload = anHour();
  std::string text;
  for (auto _ : state) text = CursorTelemetryCodec::encode(payload);
  report(state, text);
}
BENCHMARK(encode)->Unit(benchmark::kMillisecond);

void decode(benchmark::State& state) {
  const std::string text = CursorTelemetryCodec::encode(anHour());
  for (auto _ : state) benchmark::DoNotOptimize(CursorTelemetryCodec::decode(text));
  report(state, text);
}
BENCHMARK(decode)->Unit(benchmark::kMillisecond);

/// What decoding is measured against: the tree alone, not yet brought into records.
void parseAsATree(benchmark::State& state) {
  const std::string text = CursorTelemetryCodec::encode(anHour());
  for (auto _ : state) benchmark::DoNotOptimize(JSON::parse(text));
  report(state, text);
}
BENCHMARK(parseAsATree)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quillant
