#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

/// Where a sound of 16,000 samples a second is loud, in seconds: what the engines of the tests take for
/// words.
struct LoudStretch {
  double start = 0;
  double end = 0;
};

inline std::vector<LoudStretch> loudStretches(std::span<const std::int16_t> samples) {
  std::vector<LoudStretch> result;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (std::abs(samples[i]) < 3'000) continue;
    const double time = static_cast<double>(i) / 16'000;
    if (result.empty() || time - result.back().end > 0.1) result.push_back({time, time});
    result.back().end = time;
  }
  return result;
}
