#include "MediaKit/Reading/AssetProbe.h"

#include <algorithm>
#include <map>
#include <vector>

#include "MediaKit/Reading/MediaInput.h"
#include "MediaKit/Writing/SessionStart.h"

namespace quillant {

namespace {

/// What the fragments of one track add up to.
struct FragmentSum {
  std::uint64_t end = 0;        ///< Ticks.
  std::uint64_t lastStart = 0;  ///< Ticks, of the last sample.
  std::uint64_t samples = 0;
  /// Ticks between the starts of samples. What a sample is said to last is not that where a fragment ends.
  std::vector<std::int64_t> intervals;

  void add(const MovieFragments::SampleRun& run) {
    auto start = run.time;
    const auto take = [&](std::uint64_t duration) {
      if (samples > 0) intervals.push_back(static_cast<std::int64_t>(start - lastStart));
      lastStart = start;
      start += duration;
      ++samples;
    };
    for (const auto& sample : run.samples) take(sample.duration);
    // Of a run of equals one stands for all: a file may promise billions in a few bytes.
    if (run.samples.empty() && run.count > 0) {
      take(run.uniform.duration);
      lastStart += run.duration - run.uniform.duration;
      samples += run.count - 1;
    }
    end = std::max(end, run.time + run.duration);
  }
};

std::map<std::uint32_t, FragmentSum> sumFragments(const MediaInput& input) {
  std::map<std::uint32_t, FragmentSum> sums;
  MovieFragments::visit(input.file(), *input.fragmentedMovie(),
                        [&](const MovieFragments::SampleRun& run) { sums[run.track].add(run); });
  if (sums.empty()) MovieBoxes::fail("the file breaks off before its first fragment is whole");
  return sums;
}

}  // namespace

std::vector<MediaTrack> MediaAsset::tracksOfKind(MediaTrack::Kind kind) const {
  std::vector<MediaTrack> found;
  std::ranges::copy_if(tracks, std::back_inserter(found),
                       [&](const MediaTrack& track) { return track.kind == kind; });
  return found;
}

MediaAsset AssetProbe::probe(const std::filesystem::path& path) {
  MediaInput input(path, MediaInput::Extent::head);
  auto& context = input.context();
  std::map<std::uint32_t, FragmentSum> sums;
  if (input.fragmentedMovie())
    sums = sumFragments(input);
  else
    input.describeStreams();

  MediaAsset asset{MediaTime::zero(), {}, SessionStart::read(input.file())};
  for (unsigned i = 0; i < context.nb_streams; ++i) {
    const auto& stream = *context.streams[i];
    if (!MediaInput::isMedia(stream)) continue;
    auto track = input.describe(stream);
    if (const auto sum = sums.find(static_cast<std::uint32_t>(stream.id)); sum != sums.end()) {
      track.duration =
          std::max(track.duration, MediaInput::time(static_cast<std::int64_t>(sum->second.end), stream));
      if (track.kind == MediaTrack::Kind::video && track.duration > MediaTime::zero())
        track.nominalFrameRate =
            MediaInput::gridRate(sum->second.intervals, stream,
                                 static_cast<double>(sum->second.samples) / track.duration.seconds());
    }
    asset.duration = std::max(asset.duration, track.duration);
    asset.tracks.push_back(track);
  }
  return asset;
}

}  // namespace quillant
