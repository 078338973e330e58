#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "MediaKit/Reading/MovieFragments.h"
#include "MediaKit/Writing/BoxWriter.h"

namespace quillant {

/// Equal values that follow one another, counted.
class RunLengths {
 public:
  void add(std::uint32_t value) {
    if (runs_.empty() || runs_.back().second != value) runs_.emplace_back(0, value);
    ++runs_.back().first;
  }
  const std::vector<std::pair<std::uint32_t, std::uint32_t>>& runs() const { return runs_; }

 private:
  std::vector<std::pair<std::uint32_t, std::uint32_t>> runs_;
};

/// What an ordinary file's index stores of one track's samples: 4 bytes a sample, and 8 for each that does
/// not last as long as the one before.
class SampleTables {
 public:
  /// Runs come in the order of their times.
  void add(const MovieFragments::SampleRun& run);
  /// Once, when no run follows.
  void finish() { closeSample(sampleDuration_); }

  std::uint64_t start() const { return start_; }                        ///< Ticks of the track.
  std::uint64_t end() const { return sampleStart_ + sampleDuration_; }  ///< Ticks of the track.
  void write(BoxWriter& out) const;

 private:
  void closeSample(std::uint64_t duration) { durations_.add(static_cast<std::uint32_t>(duration)); }

  std::uint64_t start_ = 0;
  std::uint64_t sampleStart_ = 0;  ///< Of the last sample, whose duration is still open.
  std::uint64_t sampleDuration_ = 0;
  RunLengths durations_;
  std::vector<std::uint32_t> sizes_;
  std::vector<std::uint32_t> keyFrames_;  ///< Numbers of samples, from 1.
  std::vector<std::uint64_t> chunkOffsets_;
  RunLengths chunkLengths_;
};

}  // namespace quillant
