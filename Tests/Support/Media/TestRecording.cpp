#include "Tests/Support/Media/TestRecording.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <thread>

#include "Core/Error.h"
#include "Tests/Support/Eventually.h"

namespace quillant {

namespace {

/// Smooth enough for a codec, and like itself at no other time: every 32 samples a new random level.
float level(double at) {
  const auto random = [](double index) {
    auto bits = static_cast<std::uint32_t>(static_cast<std::int64_t>(index)) * 2654435761U;
    bits ^= bits >> 15;
    return static_cast<double>(bits * 2246822519U >> 8) / (1 << 24) - 0.5;
  };
  const double whole = std::floor(at / 32);
  const double part = 0.5 - 0.5 * std::cos((at / 32 - whole) * 3.14159265358979);
  return static_cast<float>(random(whole) * (1 - part) + random(whole + 1) * part);
}

}  // namespace

AudioBuffer TestRecording::sound(std::int64_t first, int count, int channels, int sampleRate) {
  AudioBuffer buffer{{first, sampleRate}, sampleRate, channels, {}};
  for (int i = 0; i < count; ++i)
    buffer.samples.insert(buffer.samples.end(), static_cast<std::size_t>(channels),
                          level(static_cast<double>(first + i) * 48'000 / sampleRate));
  return buffer;
}

void TestRecording::feed(AssetWriter& writer, bool atItsPace) const {
  const auto video = writer.addVideo({width, height, frameRate, ColorTagging::p3D65Rec709});
  std::vector<AssetWriter::Input> tracks;
  for (const int channels : audioChannels)
    tracks.push_back(writer.addAudio({channels, channels == 1 ? 96'000 : 160'000}));
  ASSERT_TRUE(writer.startWriting()) << describe(writer.error());
  writer.startSession(start);
  const auto begin = std::chrono::steady_clock::now();
  const int samples = 48'000 / frameRate;
  const auto hasFragments = [&] { return !atItsPace || writer.counters().fragmentsClosed >= 4; };
  for (int i = 0; i < frames || !hasFragments(); ++i) {
    if (atItsPace) {
      // On a machine that is too slow pictures are left out, as they are by a real source.
      const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
      i = std::max(i, static_cast<int>(passed.count() * frameRate));
      std::this_thread::sleep_until(begin +
                                    std::chrono::nanoseconds(std::int64_t{1'000'000'000} * i / frameRate));
    }
    const auto time = start + MediaTime{i, frameRate};
    ASSERT_TRUE(eventually([&] { return writer.isReady(video); })) << describe(writer.error());
    ASSERT_TRUE(writer.append(video, picture(width, height, std::uint32_t(i)), time));
    if (onAppended) onAppended(i);
    for (std::size_t track = 0; track < tracks.size(); ++track) {
      auto buffer = sound(std::int64_t{i} * samples, samples, audioChannels[track]);
      buffer.time = start + buffer.time;
      ASSERT_TRUE(writer.append(tracks[track], std::move(buffer)));
    }
  }
}

void TestRecording::write(const std::filesystem::path& path) const {
  AssetWriter writer(path, container, fragmentInterval);
  feed(writer, false);
  runBlocking(writer.finishWriting());
  ASSERT_EQ(writer.status(), AssetWriter::Status::completed) << describe(writer.error());
}

void TestRecording::writeUnfinished(const std::filesystem::path& path) const {
  AssetWriter writer(path, container, fragmentInterval);
  feed(writer, true);
}

}  // namespace quillant
