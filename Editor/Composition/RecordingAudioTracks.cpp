#include "Editor/Composition/RecordingAudioTracks.h"

#include <algorithm>

namespace quillant::RecordingAudioTracks {

using Voice = TimelineTranscriptTrack;

std::vector<Voice> voices(TimelineSource::Kind kind, std::span<const MediaTrack> tracks) {
  std::vector<Voice> result;
  for (const auto& track : tracks) {
    const auto voice = track.channels == 1 ? Voice::mic : Voice::system;
    const bool isPlain =
        kind != TimelineSource::Kind::recording || std::ranges::find(result, voice) != result.end();
    result.push_back(isPlain ? Voice::audio : voice);
  }
  return result;
}

double volume(const TimelineExportEditPlan::Segment& segment, Voice voice,
              const TimelineEditSnapshot& edits) {
  const auto& sound = segment.sound;
  const bool isMicrophone = voice == Voice::mic;
  if (edits.isMuted(TimelineMuteRow::clips) || (isMicrophone ? sound.micMuted : sound.systemMuted)) return 0;
  return std::clamp(isMicrophone ? sound.micVolume : sound.systemVolume, 0.0, 1.0);
}

}  // namespace quillant::RecordingAudioTracks
