#include "Editor/Export/FrameChain.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace quillant {

FrameChain::FrameChain(std::shared_ptr<const VideoBackgroundCompositionInstruction> instruction,
                       std::vector<MultiSourceComposition::VideoTrack> tracks, const Options& options)
    : instruction_(std::move(instruction)),
      options_(options),
      compositor_({.threads = options.composingThreads, .wallpapers = options.wallpapers}) {
  for (auto& track : tracks) tracks_.push_back({std::move(track), std::nullopt});
}

PixelBufferRef FrameChain::decode(int trackID, double time) {
  const auto track =
      std::ranges::find(tracks_, trackID, [](const Track& each) { return each.description.trackID; });
  if (track == tracks_.end()) return nullptr;
  if (!track->reader)
    track->reader.emplace(
        track->description.file, 0,
        VideoReaderOptions{.threads = options_.decodingThreads, .findsChanges = options_.findsChanges});
  const auto frame = track->reader->frame(time - track->description.offset);
  return frame ? frame->picture : nullptr;
}

PixelBufferRef FrameChain::frame(double time) {
  const auto required = instruction_->requiredPictures(time);
  std::array<TrackFrame, 2> frames;
  std::size_t count = 0;
  if (auto picture = decode(required.sourceTrackID, required.sourceTime))
    frames[count++] = {required.sourceTrackID, std::move(picture)};
  if (required.facecamTrackID)
    if (auto picture = decode(*required.facecamTrackID, required.facecamTime))
      frames[count++] = {*required.facecamTrackID, std::move(picture)};
  return compositor_.startRequest(
      {.instruction = instruction_, .time = time, .frames = std::span(frames).first(count)});
}

}  // namespace quillant
