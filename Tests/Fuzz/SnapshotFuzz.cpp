#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

#include "Core/JSON.h"
#include "Editor/Timeline/TimelineAudioTrack.h"
#include "Editor/Timeline/TimelineClipList.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"
#include "Editor/Timeline/TimelineMusic.h"
#include "Tests/Support/GeneratedEdits.h"

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

/// Puts something else in the place of some value in the document, or takes it out.
void disturb(Json& json, GeneratedEdits& generated) {
  static const Json strange[] = {
      nullptr, true, -1,        0.0005, 1e308, -1e308,         9223372036854775807,
      "",      "x",  "CIRCLE ", 0.1,    10,    Json::object(), Json::array({1, 2, "w"})};
  if (json.empty() || !json.is_structured() || generated.chance(0.1)) {
    json = strange[generated.below(std::size(strange))];
    return;
  }
  auto at = json.begin();
  std::advance(at, static_cast<std::ptrdiff_t>(generated.below(json.size())));
  if (generated.chance(0.05))
    json.erase(at);
  else if (json.is_array() && generated.chance(0.1))
    json.push_back(Json(*at));
  else
    disturb(*at, generated);
}

Json content(const TimelineEditSnapshot& edit) {
  return edit.contentOnly();
}

/// What decodes is the same edit after being written, and no rule stumbles over it.
void tryDocument(const Json& json) {
  TimelineEditSnapshot edit;
  try {
    edit = JSON::decode<TimelineEditSnapshot>(json);
  } catch (const JSONError&) {
    return;
  }
  for (const double time : {0.0, 1.0, -1e308})
    for (const double duration : {10.0, 1e308}) applyRules(edit, time, duration);

  std::string text;
  try {
    text = JSON::compact(Json(edit));
  } catch (const JSONError&) {
    return;  // sums of absurd numbers are not finite
  }
  expect(content(JSON::decode<TimelineEditSnapshot>(JSON::parse(text))) == content(edit));
}

}  // namespace
}  // namespace quillant

/// The bytes are tried as a document, and as the seed of one with a few values disturbed: by bytes alone a
/// document would hardly ever come about.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillant;
  try {
    tryDocument(JSON::parse({reinterpret_cast<const char*>(data), size}));
  } catch (const JSONError&) {
  }

  std::uint64_t seed = 0;
  std::memcpy(&seed, data, std::min(size, sizeof seed));
  GeneratedEdits generated(seed);
  Json json = generated.snapshot(10, {.clips = 3, .zooms = 2, .audioClips = 3, .words = 2});
  for (auto times = 1 + generated.below(4); times > 0; --times) disturb(json, generated);
  tryDocument(json);
  return 0;
}
