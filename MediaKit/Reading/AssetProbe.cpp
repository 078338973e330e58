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

MediaTime timeOf(std::int64_t count, AVRational timeBase) {
  if (count == AV_NOPTS_VALUE || count <= 0) return MediaTime::zero();
  // Time bases are a fraction of a second in every container but a few odd ones.
  if (timeBase.num == 1) return {count, timeBase.den};
  return MediaTime::fromSeconds(static_cast<double>(count) * av_q2d(timeBase));
}

MediaTrack describe(const AVStream& stream) {
  const auto& parameters = *stream.codecpar;
  MediaTrack track;
  track.duration = timeOf(stream.duration, stream.time_base);
  if (parameters.codec_type == AVMEDIA_TYPE_AUDIO) {
    track.kind = MediaTrack::Kind::audio;
    track.channels = parameters.ch_layout.nb_channels;
    track.sampleRate = parameters.sample_rate;
    return track;
  }
  track.naturalSize = {double(parameters.width), double(parameters.height)};
  track.rotation = MediaInput::rotation(stream);
  if (stream.avg_frame_rate.num > 0 && stream.avg_frame_rate.den > 0)
    track.nominalFrameRate = av_q2d(stream.avg_frame_rate);
  return track;
}

/// A cover picture of a music file is no video.
bool isMedia(const AVStream& stream) {
  const auto type = stream.codecpar->codec_type;
  return type == AVMEDIA_TYPE_AUDIO ||
         (type == AVMEDIA_TYPE_VIDEO && (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0);
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
    if (!isMedia(stream)) continue;
    auto track = describe(stream);
    if (const auto sum = sums.find(static_cast<std::uint32_t>(stream.id)); sum != sums.end()) {
      track.duration =
          std::max(track.duration, timeOf(static_cast<std::int64_t>(sum->second.end), stream.time_base));
      if (track.kind == MediaTrack::Kind::video && track.duration > MediaTime::zero())
        track.nominalFrameRate = static_cast<double>(sum->second.samples) / track.duration.seconds();
    }
    asset.duration = std::max(asset.duration, track.duration);
    asset.tracks.push_back(track);
  }
  return asset;
}

}  // namespace quillant
