#include "MediaKit/Writing/SampleTables.h"

namespace quillant {

using MovieBoxes::type;

void SampleTables::add(const MovieFragments::SampleRun& run) {
  if (run.count == 0) return;
  if (sizes_.empty())
    start_ = run.time;
  else
    // What a fragment could not know when it closed: how long its last sample would last.
    closeSample(run.time - sampleStart_);
  sampleStart_ = run.time;
  chunkOffsets_.push_back(run.offset);
  chunkLengths_.add(run.count);
  for (std::uint32_t i = 0; i < run.count; ++i) {
    auto sample = run.samples.empty() ? run.uniform : run.samples[i];
    if (i == 0 && run.samples.empty()) sample.isKeyFrame = run.firstIsKeyFrame;
    if (i > 0) {
      closeSample(sampleDuration_);
      sampleStart_ += sampleDuration_;
    }
    sampleDuration_ = sample.duration;
    sizes_.push_back(sample.size);
    if (sample.isKeyFrame) keyFrames_.push_back(static_cast<std::uint32_t>(sizes_.size()));
  }
}

void SampleTables::write(BoxWriter& out) const {
  const auto table = [&](std::uint32_t boxType, std::size_t count, auto&& entries) {
    out.box(boxType, [&] {
      out.u32(0);
      out.u32(static_cast<std::uint32_t>(count));
      entries();
    });
  };
  table(type("stts"), durations_.runs().size(), [&] {
    for (const auto& [count, duration] : durations_.runs()) {
      out.u32(count);
      out.u32(duration);
    }
  });
  if (keyFrames_.size() < sizes_.size())
    table(type("stss"), keyFrames_.size(), [&] {
      for (const auto number : keyFrames_) out.u32(number);
    });
  table(type("stsc"), chunkLengths_.runs().size(), [&] {
    std::uint32_t firstChunk = 1;
    for (const auto& [count, samples] : chunkLengths_.runs()) {
      out.u32(firstChunk);
      out.u32(samples);
      out.u32(1);  // the one sample description
      firstChunk += count;
    }
  });
  out.box(type("stsz"), [&] {
    out.u32(0);
    out.u32(0);
    out.u32(static_cast<std::uint32_t>(sizes_.size()));
    for (const auto size : sizes_) out.u32(size);
  });
  table(type("co64"), chunkOffsets_.size(), [&] {
    for (const auto offset : chunkOffsets_) out.u64(offset);
  });
}

}  // namespace quillant
