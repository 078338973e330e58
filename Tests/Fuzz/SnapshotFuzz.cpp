#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "Core/JSON.h"
#include "Editor/Timeline/TimelineAudioTrack.h"
#include "Editor/Timeline/TimelineClipList.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"
#include "Editor/Timeline/TimelineMusic.h"

namespace quillant {
namespace {

void expect(bool holds) {
  if (!holds) std::abort();
}

void applyClipRules(TimelineEditSnapshot edit, double time, double duration) {
  const auto clips = edit.effectiveClips(duration);
  if (clips.empty()) return;
  const auto& id = clips.front().id;
  TimelineClipList::split(clips, time);
  TimelineClipList::trim(clips, id, TimelineClipEdge::leading, time);
  TimelineClipList::trim(clips, id, TimelineClipEdge::trailing, time);
  TimelineClipList::setSpeed(clips, id, time);
  const auto cut = TimelineClipList::deleteOutputRange(clips, time, duration);
  edit.setClips(cut ? *cut : *clips, duration);
  edit.clearCameraLayouts(duration);
  edit.contentOnly();
}

void applyAudioRules(const TimelineAudioTrack::Row& row, double time, double duration) {
  if (row.empty()) return;
  const auto& id = row.front().id;
  TimelineAudioTrack::removeTime(row, time, duration);
  TimelineAudioTrack::insertTime(row, time, duration);
  TimelineAudioTrack::deleteRange(row, time, duration);
  TimelineAudioTrack::split(row, time);
  TimelineAudioTrack::trim(row, id, TimelineClipEdge::trailing, time);
  TimelineAudioTrack::move(row, id, time);
  TimelineAudioTrack::setSpeed(row, id, time);
  TimelineMusic::repeats(row);
  const auto runs = TimelineMusic::runs(row, duration);
  for (const auto& clip : row) TimelineMusic::envelope(clip, runs, duration);
}

/// Each rule takes whatever a file may hold, however absurd its numbers.
void applyRules(const TimelineEditSnapshot& edit, double time, double duration) {
  edit.hasEdits();
  edit.changesPlayback(duration);
  edit.activeCameraSettings(time, duration, FacecamSettings());
  edit.zooms("a");
  applyClipRules(edit, time, duration);
  applyAudioRules(edit.audioClips, time, duration);
  applyAudioRules(edit.musicClips, time, duration);
}

Json content(const TimelineEditSnapshot& edit) {
  return edit.contentOnly();
}

}  // namespace
}  // namespace quillant

/// Whatever the bytes are, decoding takes them or throws JSONError; what it has taken is the same edit after
/// being written, and no rule stumbles over it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillant;
  TimelineEditSnapshot edit;
  try {
    edit = JSON::decode<TimelineEditSnapshot>(JSON::parse({reinterpret_cast<const char*>(data), size}));
  } catch (const JSONError&) {
    return 0;
  }
  for (const double time : {0.0, 1.0, -1e308})
    for (const double duration : {10.0, 1e308}) applyRules(edit, time, duration);

  std::string text;
  try {
    text = JSON::compact(Json(edit));
  } catch (const JSONError&) {
    return 0;  // sums of absurd numbers are not finite
  }
  expect(content(JSON::decode<TimelineEditSnapshot>(JSON::parse(text))) == content(edit));
  return 0;
}
