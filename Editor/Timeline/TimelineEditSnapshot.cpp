#include "Editor/Timeline/TimelineEditSnapshot.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "Core/JSON.h"
#include "Editor/Timeline/SortByStart.h"
#include "Editor/Timeline/TimelineAudioTrack.h"
#include "Editor/Timeline/TimelineClipList.h"
#include "Editor/Timeline/TimelineClipSpeed.h"
#include "Editor/Timeline/TimelineTolerances.h"

namespace quillant {

namespace {

/// How far two clips' times may differ and still say the same.
constexpr double sameTimeTolerance = 0.0005;
constexpr double minimumCameraClipLength = 0.1;

bool changesSpeed(double speed) {
  return std::isfinite(speed) && TimelineClipSpeed::normalized(speed) != 1;
}

bool overridesCameraLayout(const TimelineClip& clip) {
  return clip.cameraLayout() != TimelineCameraLayout::bubble;
}

bool saySame(const TimelineClip& left, const TimelineClip& right) {
  return left.source == right.source && std::abs(left.start - right.start) < sameTimeTolerance &&
         std::abs(left.end - right.end) < sameTimeTolerance &&
         TimelineClipSpeed::normalized(left.speed) == TimelineClipSpeed::normalized(right.speed) &&
         left.sound == right.sound && left.cameraLayout() == right.cameraLayout();
}

template <class Record>
void eraseIdentities(CopyOnWriteVector<Record>& records) {
  if (records.empty()) return;
  for (auto& record : records.mutate()) record.id = {};
}

/// `clipSpeeds` as stored: an object whose keys are indexes in decimal text.
struct ClipSpeeds {
  std::map<std::int64_t, double> byIndex;
};

void to_json(Json& json, const ClipSpeeds& speeds) {
  json = Json::object();
  for (const auto& [index, speed] : speeds.byIndex) json[std::to_string(index)] = speed;
}

void from_json(const Json& json, ClipSpeeds& speeds) {
  if (!json.is_object()) JSON::throwWrongType(json, "an object");
  for (const auto& [key, value] : json.items()) {
    std::int64_t index = 0;
    const auto* end = key.data() + key.size();
    const auto [stop, error] = std::from_chars(key.data(), end, index);
    if (error != std::errc() || stop != end)
      throw JSONError(JSONError::Kind::invalidValue, "the key is not the index of a clip", key.substr(0, 40));
    speeds.byIndex[index] = JSON::required<double>(json, key);
  }
}

/// The clips are written in the older form wherever it says them, so that any version reads the file.
void writeClips(Json& json, const TimelineEditSnapshot& snapshot) {
  TimelineClipList::Legacy legacy;
  if (!snapshot.clipList) {
    legacy = {snapshot.trimRegions, snapshot.clipSplitTimes, snapshot.clipSpeeds};
  } else {
    std::optional<TimelineClipList::Legacy> said;
    if (snapshot.clipListDuration > 0)
      said = TimelineClipList::legacy(*snapshot.clipList, snapshot.clipListDuration);
    if (said)
      legacy = std::move(*said);
    else
      json["clips"] = **snapshot.clipList;
  }
  json["trimRegions"] = legacy.trimRegions;
  json["clipSplitTimes"] = legacy.splitTimes;
  json["clipSpeeds"] = ClipSpeeds{std::move(legacy.clipSpeeds)};
}

template <class Record>
void writeUnlessEmpty(Json& json, const char* key, const CopyOnWriteVector<Record>& records) {
  if (!records.empty()) json[key] = *records;
}

template <class Record>
std::vector<Record> readArray(const Json& json, std::string_view key) {
  return JSON::orDefault(json, key, std::vector<Record>());
}

}  // namespace

bool TimelineEditSnapshot::isMuted(TimelineMuteRow row) const {
  return std::ranges::find(mutedRows, row) != mutedRows.end();
}

void TimelineEditSnapshot::setMuted(TimelineMuteRow row, bool on) {
  std::erase(mutedRows, row);
  if (on) mutedRows.push_back(row);
  std::ranges::sort(mutedRows, {}, rawText<TimelineMuteRow>);
  mutedRows.erase(std::ranges::unique(mutedRows).begin(), mutedRows.end());
}

std::optional<TimelineAudioRow> TimelineEditSnapshot::audioRow(const UUID& id) const {
  const auto holds = [&id](const auto& clips) {
    return std::ranges::find(clips, id, &TimelineAudioClip::id) != clips.end();
  };
  if (holds(audioClips)) return TimelineAudioRow::voice;
  if (holds(musicClips)) return TimelineAudioRow::music;
  return std::nullopt;
}

bool TimelineEditSnapshot::hasEdits() const {
  return !zoomRegions.empty() || !trimRegions.empty() || !annotationRegions.empty() ||
         !clipSplitTimes.empty() || hasClipSpeedEdits() || !cameraClips.empty() || clipList ||
         !sources.empty() || !audioClips.empty() || !musicClips.empty() ||
         recordingSound != TimelineRecordingSound() || !mutedRows.empty() || autoZoomsOff ||
         !hiddenAutoZooms.empty() || (captions && captions->on);
}

bool TimelineEditSnapshot::hasClipSpeedEdits() const {
  if (clipList) return std::ranges::any_of(*clipList, changesSpeed, &TimelineClip::speed);
  return std::ranges::any_of(clipSpeeds, changesSpeed, [](const auto& entry) { return entry.second; });
}

bool TimelineEditSnapshot::changesPlayback(double duration) const {
  const auto clips = effectiveClips(duration);
  if (clips.empty()) return false;
  if (clips.front().start > timeTolerance || clips.back().end < duration - timeTolerance) return true;
  const auto jumps = [](const TimelineClip& left, const TimelineClip& right) {
    return std::abs(right.start - left.end) > timeTolerance;
  };
  return std::ranges::adjacent_find(clips, jumps) != clips.end() ||
         std::ranges::any_of(
             clips, [](const TimelineClip& clip) { return clip.source || changesSpeed(clip.speed); });
}

CopyOnWriteVector<TimelineClip> TimelineEditSnapshot::effectiveClips(double duration) const {
  if (clipList) return *clipList;
  return TimelineClipList::fromLegacy(trimRegions, clipSplitTimes, clipSpeeds, duration);
}

void TimelineEditSnapshot::setClips(std::vector<TimelineClip> clips, double duration) {
  const auto stored = TimelineClipList::fromLegacy(trimRegions, clipSplitTimes, clipSpeeds, duration);
  if (std::ranges::equal(stored, clips, saySame)) {
    clipList.reset();
    clipListDuration = 0;
  } else {
    clipList = std::move(clips);
    clipListDuration = duration;
  }
}

TimelineEditSnapshot TimelineEditSnapshot::withClipSounds(double duration) const {
  auto result = *this;
  if (recordingSound == TimelineRecordingSound{}) return result;
  auto clips = effectiveClips(duration);
  for (auto& clip : clips.mutate())
    if (!clip.sound) clip.sound = recordingSound;
  result.clipList = std::move(clips);
  result.clipListDuration = duration;
  return result;
}

void TimelineEditSnapshot::clearCameraLayouts(double duration) {
  if (!clipList || std::ranges::none_of(*clipList, overridesCameraLayout)) return;
  auto clips = **clipList;
  for (auto& clip : clips) {
    clip.cameraHidden.reset();
    clip.cameraFullScreen.reset();
  }
  setClips(std::move(clips), duration);
}

TimelineEditSnapshot TimelineEditSnapshot::zooms(const std::optional<std::string>& source) const {
  auto result = *this;
  std::erase_if(result.zoomRegions.mutate(), [&](const auto& zoom) { return zoom.source != source; });
  if (source) {
    result.annotationRegions = {};
    result.cameraClips = {};
  }
  return result;
}

std::vector<TimelineCameraClip> TimelineEditSnapshot::resolvedCameraClips(
    double duration, const std::optional<FacecamSettings>& fallback) const {
  std::vector<TimelineCameraClip> result;
  for (const auto& clip : cameraClips) {
    const auto span = clip.span.normalized(duration, minimumCameraClipLength);
    if (clip.span.length() >= timeTolerance && span.length() >= timeTolerance)
      result.push_back({.id = clip.id, .span = span, .settings = clip.settings.clamped()});
  }
  sortByStart(result, [](const auto& clip) { return clip.span.start; });
  if (result.empty() && fallback && isValidDuration(duration))
    result.push_back({.id = UUID::random(), .span = {0, duration}, .settings = fallback->clamped()});
  return result;
}

std::optional<FacecamSettings> TimelineEditSnapshot::activeCameraSettings(
    double time, double duration, const std::optional<FacecamSettings>& fallback) const {
  const auto clips = resolvedCameraClips(duration, fallback);
  const auto covers = [&](const TimelineCameraClip& clip) {
    return clip.span.start <= time &&
           (time < clip.span.end || std::abs(clip.span.end - duration) < timeTolerance);
  };
  const auto found = std::find_if(clips.rbegin(), clips.rend(), covers);
  if (found == clips.rend() || !found->settings.enabled) return std::nullopt;
  return found->settings;
}

TimelineEditSnapshot TimelineEditSnapshot::contentOnly() const {
  auto result = *this;
  if (clipList && clipListDuration > 0) {
    if (auto legacy = TimelineClipList::legacy(*clipList, clipListDuration)) {
      result.trimRegions = std::move(legacy->trimRegions);
      result.clipSplitTimes = std::move(legacy->splitTimes);
      result.clipSpeeds = std::move(legacy->clipSpeeds);
      result.clipList.reset();
      result.clipListDuration = 0;
    }
  }
  eraseIdentities(result.zoomRegions);
  eraseIdentities(result.hiddenAutoZooms);
  eraseIdentities(result.trimRegions);
  eraseIdentities(result.annotationRegions);
  eraseIdentities(result.cameraClips);
  if (result.clipList) eraseIdentities(*result.clipList);
  eraseIdentities(result.audioClips);
  eraseIdentities(result.musicClips);
  if (!result.cameraClips.empty())
    for (auto& clip : result.cameraClips.mutate()) clip.settings = clip.settings.clamped();
  return result;
}

void to_json(Json& json, const TimelineEditSnapshot& snapshot) {
  json["zoomRegions"] = *snapshot.zoomRegions;
  json["annotationRegions"] = *snapshot.annotationRegions;
  json["cameraClips"] = *snapshot.cameraClips;
  writeClips(json, snapshot);
  writeUnlessEmpty(json, "sources", snapshot.sources);
  writeUnlessEmpty(json, "audioSources", snapshot.audioSources);
  writeUnlessEmpty(json, "audioClips", snapshot.audioClips);
  writeUnlessEmpty(json, "musicClips", snapshot.musicClips);
  if (snapshot.recordingSound != TimelineRecordingSound()) json["recordingSound"] = snapshot.recordingSound;
  for (const auto row : snapshot.mutedRows) json["mutedRows"].push_back(rawText(row));
  if (snapshot.autoZoomsOff) json["autoZoomsOff"] = true;
  writeUnlessEmpty(json, "hiddenAutoZooms", snapshot.hiddenAutoZooms);
  if (snapshot.captions) json["captions"] = *snapshot.captions;
}

void from_json(const Json& json, TimelineEditSnapshot& snapshot) {
  snapshot = {};
  snapshot.zoomRegions = readArray<TimelineZoomRegion>(json, "zoomRegions");
  snapshot.trimRegions = readArray<TimelineTrimRegion>(json, "trimRegions");
  snapshot.annotationRegions = readArray<TimelineAnnotationRegion>(json, "annotationRegions");
  snapshot.clipSplitTimes = readArray<double>(json, "clipSplitTimes");
  snapshot.clipSpeeds = JSON::orDefault(json, "clipSpeeds", ClipSpeeds()).byIndex;
  snapshot.cameraClips = readArray<TimelineCameraClip>(json, "cameraClips");
  if (auto clips = readArray<TimelineClip>(json, "clips"); !clips.empty())
    snapshot.clipList = std::move(clips);
  snapshot.sources = readArray<TimelineSource>(json, "sources");
  snapshot.audioSources = readArray<TimelineAudioSource>(json, "audioSources");
  snapshot.audioClips = TimelineAudioTrack::normalized(readArray<TimelineAudioClip>(json, "audioClips"));
  snapshot.musicClips = TimelineAudioTrack::normalized(readArray<TimelineAudioClip>(json, "musicClips"));
  snapshot.recordingSound = JSON::orDefault(json, "recordingSound", TimelineRecordingSound());
  for (const auto& text : readArray<std::string>(json, "mutedRows"))
    if (const auto row = fromRawText<TimelineMuteRow>(text)) snapshot.setMuted(*row, true);
  snapshot.autoZoomsOff = JSON::orDefault(json, "autoZoomsOff", false);
  snapshot.hiddenAutoZooms = readArray<TimelineZoomRegion>(json, "hiddenAutoZooms");
  snapshot.captions = JSON::optional<TimelineCaptions>(json, "captions");
}

}  // namespace quillant
