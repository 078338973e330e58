#include "MediaKit/Composing/TimeStretch.h"

#include <algorithm>
#include <rubberband/RubberBandStretcher.h>
#include <vector>

namespace quillant {

namespace {

using RubberBand::RubberBandStretcher;

/// One thread, for the same output on every machine. The finer engine, at about three times the CPU of the
/// faster one: at the speeds of clips it keeps sounds within 2 ms of their places.
constexpr auto options = RubberBandStretcher::OptionProcessRealTime |
                         RubberBandStretcher::OptionThreadingNever | RubberBandStretcher::OptionEngineFiner |
                         RubberBandStretcher::OptionChannelsTogether;

}  // namespace

struct TimeStretch::Implementation {
  Implementation(SoundFormat format, double rate, Source from)
      : channels(static_cast<std::size_t>(format.channels)),
        source(std::move(from)),
        stretcher(static_cast<std::size_t>(format.sampleRate), channels, options, 1 / rate),
        planes(channels),
        pointers(channels) {
    unwanted = stretcher.getStartDelay();
    feed(stretcher.getPreferredStartPad(), [](std::span<float> pad) {
      std::ranges::fill(pad, 0.0f);
      return pad.size();
    });
  }

  template <class From>
  void feed(std::size_t frames, From&& from);
  std::size_t retrieve(std::span<float> samples);
  void setPlanes(std::size_t frames);

  std::size_t channels;
  Source source;
  RubberBandStretcher stretcher;
  std::size_t unwanted = 0;  ///< Frames of output that come before the first frame in.
  bool atEnd = false;
  std::vector<float> interleaved;
  std::vector<std::vector<float>> planes;
  std::vector<float*> pointers;
};

void TimeStretch::Implementation::setPlanes(std::size_t frames) {
  for (std::size_t i = 0; i < channels; ++i) {
    planes[i].resize(std::max(planes[i].size(), frames));
    pointers[i] = planes[i].data();
  }
}

/// Gives the stretcher `frames` of what `from` fills a buffer with; what `from` lacks at its end is silence.
template <class From>
void TimeStretch::Implementation::feed(std::size_t frames, From&& from) {
  interleaved.resize(frames * channels);
  const auto filled = from(std::span(interleaved));
  std::fill(
      interleaved.begin() + static_cast<std::ptrdiff_t>(std::min(filled * channels, interleaved.size())),
      interleaved.end(), 0.0f);
  setPlanes(frames);
  for (std::size_t frame = 0; frame < frames; ++frame)
    for (std::size_t i = 0; i < channels; ++i) planes[i][frame] = interleaved[frame * channels + i];
  stretcher.process(pointers.data(), frames, false);
}

std::size_t TimeStretch::Implementation::retrieve(std::span<float> samples) {
  const auto available = static_cast<std::size_t>(std::max(stretcher.available(), 0));
  const auto frames = std::min(available, unwanted > 0 ? unwanted : samples.size() / channels);
  if (frames == 0) return 0;
  setPlanes(frames);
  const auto got = stretcher.retrieve(pointers.data(), frames);
  if (unwanted > 0) {
    unwanted -= got;
    return 0;
  }
  for (std::size_t frame = 0; frame < got; ++frame)
    for (std::size_t i = 0; i < channels; ++i) samples[frame * channels + i] = planes[i][frame];
  return got;
}

TimeStretch::TimeStretch(SoundFormat format, double rate, Source source)
    : implementation_(std::make_unique<Implementation>(format, rate, std::move(source))) {}
TimeStretch::~TimeStretch() = default;

void TimeStretch::read(std::span<float> samples) {
  auto& self = *implementation_;
  while (!samples.empty()) {
    const bool wasUnwanted = self.unwanted > 0;
    const auto frames = self.retrieve(samples);
    samples = samples.subspan(frames * self.channels);
    if (frames > 0 || (wasUnwanted && self.unwanted == 0)) continue;
    // Behind the source's end silence keeps what is still inside moving.
    self.feed(std::max<std::size_t>(self.stretcher.getSamplesRequired(), 64), [&](std::span<float> buffer) {
      const auto filled = self.atEnd ? 0 : self.source(buffer);
      self.atEnd = self.atEnd || filled * self.channels < buffer.size();
      return filled;
    });
  }
}

}  // namespace quillant
