// What a picture of 1920 by 1080 costs from BGRA to H.264, when the source tells what changed and when not.

#include <benchmark/benchmark.h>
#include <cstring>
#include <random>
#include <vector>

#include "MediaKit/Writing/H264Encoder.h"
#include "MediaKit/Writing/PictureConverter.h"
#include "MediaKit/Writing/QuantizerControl.h"

namespace {

using namespace quillant;

constexpr int width = 1920;
constexpr int height = 1080;
constexpr int rowBytes = width * 4;

/// A desktop: a gradient, and two windows of what looks like text.
std::vector<std::uint8_t> desktop() {
  std::vector<std::uint8_t> pixels(std::size_t{rowBytes} * height);
  const auto at = [&](int x, int y) { return &pixels[static_cast<std::size_t>(y) * rowBytes + 4 * x]; };
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) std::memset(at(x, y), 40 + x * 40 / width + y * 30 / height, 4);
  std::minstd_rand random(1);
  const auto window = [&](int left, int top, int columns, int lines) {
    for (int y = 0; y < lines * 18; ++y) std::memset(at(left, top + y), 245, std::size_t(columns) * 9 * 4);
    for (int letter = 0; letter < columns * lines; ++letter) {
      if (random() % 6 == 0) continue;  // a space
      for (int dot = 0; dot < 7 * 12; ++dot)
        if ((random() >> 8) % 5 < 2)
          std::memset(at(left + letter % columns * 9 + dot % 7, top + letter / columns * 18 + 3 + dot / 7),
                      30, 4);
    }
  };
  window(100, 80, 100, 38);
  window(1050, 200, 88, 44);
  return pixels;
}

enum Scene { still, region, scrolling };

/// A source that shows the scene at 60 pictures a second.
class Source {
 public:
  Source(Scene scene, bool tells) : scene_(scene), tells_(tells) {
    buffer_.width = width;
    buffer_.height = height;
    buffer_.planes[0] = {shown_.data(), rowBytes};
  }

  const PixelBuffer& next() {
    ++index_;
    PixelRect area{700, 400, 400, 300};
    if (scene_ == scrolling) area = {0, 0, width, height};
    if (scene_ != still)
      for (int y = 0; y < area.height; ++y) {
        const int from = (80 + y + index_ * 2) % height;
        std::memcpy(&shown_[static_cast<std::size_t>(area.y + y) * rowBytes + 4 * area.x],
                    &desktop_[static_cast<std::size_t>(from) * rowBytes + (scene_ == region ? 400 : 0)],
                    static_cast<std::size_t>(area.width) * 4);
      }
    buffer_.sequence = tells_ ? static_cast<std::uint64_t>(index_) : 0;
    buffer_.changed = scene_ == still ? std::vector<PixelRect>{} : std::vector{area};
    return buffer_;
  }

 private:
  Scene scene_;
  bool tells_;
  int index_ = 0;
  std::vector<std::uint8_t> desktop_ = desktop();
  std::vector<std::uint8_t> shown_ = desktop_;
  PixelBuffer buffer_;
};

void encode(benchmark::State& state) {
  Source source(static_cast<Scene>(state.range(0)), state.range(1) != 0);
  PictureConverter converter(width, height);
  H264Encoder encoder({width, height, 60, ColorTagging::p3D65Rec709});
  std::int64_t time = 0;
  std::size_t bytes = 0;
  const auto one = [&](H264Encoder::Frame frame) {
    const auto picture = converter.convert(source.next()).picture;
    bytes += encoder.encode(*picture, time += 1500, frame, QuantizerControl::finest).data.size();
  };
  one(H264Encoder::Frame::key);
  bytes = 0;
  for ([[maybe_unused]] auto _ : state) one(H264Encoder::Frame::predicted);
  state.counters["bytes"] =
      benchmark::Counter(static_cast<double>(bytes), benchmark::Counter::kAvgIterations);
}

// The time to compare is the CPU time of the process: the encoder has threads of its own.
BENCHMARK(encode)
    ->ArgNames({"scene", "told"})
    ->ArgsProduct({{still, region, scrolling}, {1, 0}})
    ->MeasureProcessCPUTime()
    ->Iterations(300)
    ->Unit(benchmark::kMillisecond);

}  // namespace
