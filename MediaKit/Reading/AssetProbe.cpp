#include "MediaKit/Reading/AssetProbe.h"

#include <algorithm>
#include <map>

#include "MediaKit/Reading/MediaInput.h"

namespace quillant {

namespace {

/// What the fragments of one track add up to.
struct FragmentSum {
  std::uint64_t end = 0;  ///< Ticks.
  std::uint64_t samples = 0;
};

std::map<std::uint32_t, FragmentSum> sumFragments(const MediaInput& input) {
  std::map<std::uint32_t, FragmentSum> sums;
  MovieFragments::visit(input.file(), *input.fragmentedMovie(), [&](const MovieFragments::SampleRun& run) {
    auto& sum = sums[run.track];
    sum.end = std::max(sum.end, run.time + run.duration);
    sum.samples += run.count;
  });
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

  MediaAsset asset{MediaTime::zero(), {}};
  for (unsigned i = 0; i < context.nb_streams; ++i) {
    const auto& stream = *context.streams[i];
    if (!MediaInput::isMedia(stream)) continue;
    auto track = input.describe(stream);
    if (const auto sum = sums.find(static_cast<std::uint32_t>(stream.id)); sum != sums.end()) {
      track.duration =
          std::max(track.duration, MediaInput::time(static_cast<std::int64_t>(sum->second.end), stream));
      if (track.kind == MediaTrack::Kind::video && track.duration > MediaTime::zero())
        track.nominalFrameRate = static_cast<double>(sum->second.samples) / track.duration.seconds();
    }
    asset.duration = std::max(asset.duration, track.duration);
    asset.tracks.push_back(track);
  }
  return asset;
}

}  // namespace quillant
