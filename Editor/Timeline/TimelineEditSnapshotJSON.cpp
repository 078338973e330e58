#include <charconv>

#include "Core/JSON.h"
#include "Editor/Timeline/TimelineAudioTrack.h"
#include "Editor/Timeline/TimelineClipList.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"

namespace quillant {

namespace {

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
    if (std::from_chars(key.data(), end, index).ptr != end || key.empty())
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
