#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Editor/Timeline/TimelineEditEvent.h"
#include "Editor/Timeline/TimelineEditState.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {

/// Events as a user might send them to an edit as it stands, those that are refused included.
class GeneratedEvents {
 public:
  GeneratedEvents(std::uint64_t seed, double duration) : generated_(seed), duration_(duration) {}

  TimelineEditEvent next(const TimelineEditState& state) {
    using namespace TimelineEvents;
    const auto& edit = state.snapshot;
    const auto clips = edit.effectiveClips(duration_);
    const auto clip = idOf(*clips), zoom = idOf(*edit.zoomRegions), camera = idOf(*edit.cameraClips);
    const auto sound = idOf(chance() ? *edit.audioClips : *edit.musicClips);
    const double at = time(), length = generated_.time(0.001, 4);
    const auto edge = chance() ? TimelineClipEdge::leading : TimelineClipEdge::trailing;
    switch (generated_.below(38)) {
      case 0:
        return SplitClip{at, duration_};
      case 1:
        return DeleteClip{clip, duration_};
      case 2:
        return DeleteOutputRange{at, at + length, duration_};
      case 3:
        return TrimClip{clip, edge, at, duration_};
      case 4:
        return SetClipSpeed{clip, generated_.speed(), duration_};
      case 5:
        return AddClip{
            {.id = generated_.id(), .end = length + 0.1, .source = "file-0"}, source_, {}, duration_, 3};
      case 6:
        return MoveClip{clip, static_cast<std::int64_t>(generated_.below(20)), duration_};
      case 7:
        return SetClipSounds{{{clip, {.micVolume = generated_.time(0, 1)}}}, duration_};
      case 8:
        return SetClipCameraLayout{clip, rawTexts<TimelineCameraLayout>[generated_.below(3)].first,
                                   duration_};
      case 9:
        return AddAudioClip{audioClip(at, length), audioSource_};
      case 10:
        return AddMusicClips{{audioClip(at, length), audioClip(at, length)}, audioSource_};
      case 11:
        return DeleteAudioClip{sound};
      case 12:
        return DeleteAudioRange{at, at + length};
      case 13:
        return DeleteMusicRange{at, at + length};
      case 14:
        return TrimAudioClip{sound, edge, at};
      case 15:
        return MoveAudioClip{sound, at};
      case 16:
        return SetAudioClipSpeed{sound, generated_.speed()};
      case 17:
        return SetAudioClipVolume{sound, generated_.time(0, 1)};
      case 18:
        return SetAllVoiceClips{generated_.time(0, 1), chance(), chance()};
      case 19:
        return Add{TimelineRegionKind::zoom, at, duration_};
      case 20:
        return UpdateSpan{TimelineRegionKind::zoom, zoom, {at - 5, at}, duration_};
      case 21:
        return UpdateZoomSpan{zoom, at, at - length, duration_};
      case 22:
        return DeepenZoom{zoom};
      case 23:
        return UpdateZoomFocus{zoom, generated_.time(-1, 2), {}};
      case 24:
        return ReplaceAutoZooms{generated_.zooms(4, duration_)};
      case 25:
        return SetAutoZoomsOff{chance()};
      case 26:
        return SplitCameraClip{at, duration_, FacecamSettings()};
      case 27:
        return MergeCameraClip{camera, TimelineCameraMergeDirection::next};
      case 28:
        return DeleteCameraClip{camera, duration_, {}};
      case 29:
        return ReplaceCaptionWords{0, generated_.below(20), generated_.below(20), "two words"};
      case 30:
        return SetRowMuted{TimelineMuteRow::music, chance()};
      case 31:
        return RestoreVideoGap{{}, at, at + length, duration_, duration_};
      case 32:
        return RestoreVoiceGap{"song-1", length, length + 1, duration_};
      case 33:
        return SelectCameraClip{camera};
      case 34:
        return ToggleSelected{{TimelineSelectedItem::Kind::audio, sound}};
      case 35:
        return ToggleSelected{{TimelineSelectedItem::Kind::clip, clip}};
      case 36:
        return SplitSelected{at, duration_};
      default:
        return DeleteSelection{duration_};
    }
  }

 private:
  template <class Records>
  UUID idOf(const Records& records) {
    return records.empty() ? UUID() : records[generated_.below(records.size())].id;
  }
  bool chance() { return generated_.chance(0.5); }
  double time() { return generated_.time(-1, duration_ + 1); }
  TimelineAudioClip audioClip(double start, double length) {
    return {.id = generated_.id(),
            .source = audioSource_.id,
            .start = std::max(0.0, start),
            .sourceEnd = length + 0.1};
  }

  GeneratedEdits generated_;
  const double duration_;
  const TimelineSource source_ = {.id = "file-0", .fileExtension = "mp4", .displayName = "Intro"};
  const TimelineAudioSource audioSource_ = {.id = "song-1", .fileExtension = "m4a", .displayName = "Rain"};
};

}  // namespace quillant
