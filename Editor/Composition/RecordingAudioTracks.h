#pragma once

#include <span>
#include <vector>

#include "Editor/Composition/TimelineExportEditPlan.h"
#include "Editor/Timeline/TimelineCaptions.h"
#include "Editor/Timeline/TimelineSource.h"
#include "MediaKit/Reading/MediaTrack.h"

namespace quillant {

/// The sound that a video has of its own: whose it is, and how it is mixed. Pure; any thread.
namespace RecordingAudioTracks {

/// Whose each audio track of a file is, in their order. Of a recording the first mono track is the
/// microphone's and the first other one the system's; any more, and all of another file, are plain audio.
std::vector<TimelineTranscriptTrack> voices(TimelineSource::Kind kind, std::span<const MediaTrack> tracks);

/// How loud a segment plays a voice, 0...1: only the microphone goes by the microphone's mix, everything else
/// by the system's.
double volume(const TimelineExportEditPlan::Segment& segment, TimelineTranscriptTrack voice,
              const TimelineEditSnapshot& edits);

}  // namespace RecordingAudioTracks
}  // namespace quillant
