#pragma once

#include <filesystem>
#include <functional>
#include <vector>

#include "MediaKit/Writing/AssetWriter.h"
#include "Tests/Support/Media/StampedFrames.h"

namespace quillant {

/// A recording made for a test by the real writer: pictures of `StampedFrames`, and noise for sound.
struct TestRecording {
  int width = 192;
  int height = 108;
  int frameRate = 30;
  int frames = 30;
  MediaContainer container = MediaContainer::mp4;
  std::vector<int> audioChannels;  ///< A track each.
  MediaTime fragmentInterval{1, 10};
  MediaTime start = MediaTime::zero();  ///< Of the session, on the clock of whatever is recorded beside it.
  std::function<void(int index)> onAppended;
  PixelBufferRef (*picture)(int width, int height, std::uint32_t index) = StampedFrames::moving;

  /// As fast as it goes, finished to an ordinary file.
  void write(const std::filesystem::path& path) const;
  /// At the pace of its time stamps, and never finished: as a killed process leaves it. Goes on beyond
  /// `frames` until four fragments are closed.
  void writeUnfinished(const std::filesystem::path& path) const;

  /// The sound that every track gets: `count` samples a channel from sample `first` on.
  static AudioBuffer sound(std::int64_t first, int count, int channels, int sampleRate = 48'000);

 private:
  void feed(AssetWriter& writer, bool atItsPace) const;
};

}  // namespace quillant
