// How the cost of reading, writing and changing an edit grows with the edit: 100, 1,000 and 10,000 clips,
// with a tenth as many zooms, rows of sound as long as the video, and five words of transcript a clip.

#include <benchmark/benchmark.h>

#include "Core/JSON.h"
#include "Editor/Timeline/TimelineMusic.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {
namespace {

constexpr double secondsPerClip = 2;

struct Edit {
  explicit Edit(std::size_t clips)
      : duration(secondsPerClip * static_cast<double>(clips)),
        half(duration / 4),
        plain(generated.plainClips(clips, duration)),
        mixed(generated.clips(clips, duration)),
        legacy(*TimelineClipList::legacy(plain, duration)),
        row(generated.audioRow(clips)),
        runs(TimelineMusic::runs(row, duration)),
        snapshot(generated.snapshot(duration, {clips, clips / 10, clips, 0})) {
    snapshot.captions = generated.captions(clips * 5);
    snapshot.setClips(mixed, duration);
    text = JSON::pretty(Json(snapshot));
    compactText = JSON::compact(Json(snapshot));
  }

  GeneratedEdits generated{7};
  double duration;
  double half;  ///< An output time about the middle.
  std::vector<TimelineClip> plain, mixed;
  TimelineClipList::Legacy legacy;
  std::vector<TimelineAudioClip> row;
  std::vector<TimelineMusic::Run> runs;
  TimelineEditSnapshot snapshot;
  std::string text, compactText;
};

const Edit& edit(std::int64_t clips) {
  static std::map<std::int64_t, Edit> edits;
  return edits.try_emplace(clips, static_cast<std::size_t>(clips)).first->second;
}

/// `operation` is given an `Edit`; `bytes`, where there are any, how many of them it reads or writes.
template <class Operation, class Bytes = std::nullptr_t>
void measure(const char* name, Operation operation, Bytes bytes = nullptr) {
  const auto run = [operation, bytes](benchmark::State& state) {
    const auto& subject = edit(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(operation(subject));
    if constexpr (!std::is_null_pointer_v<Bytes>)
      state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>((subject.*bytes).size()));
  };
  benchmark::RegisterBenchmark(name, run)
      ->RangeMultiplier(10)
      ->Range(100, 10'000)
      ->Unit(benchmark::kMicrosecond);
}

TimelineEditSnapshot decode(const std::string& text) {
  return JSON::decode<TimelineEditSnapshot>(JSON::parse(text));
}

void measureSnapshot() {
  measure(
      "read", [](const Edit& e) { return decode(e.text); }, &Edit::text);
  measure(
      "write", [](const Edit& e) { return JSON::pretty(Json(e.snapshot)); }, &Edit::text);
  measure(
      "read compact", [](const Edit& e) { return decode(e.compactText); }, &Edit::compactText);
  measure(
      "write compact", [](const Edit& e) { return JSON::compact(Json(e.snapshot)); }, &Edit::compactText);
  measure("copy", [](const Edit& e) { return e.snapshot; });
  measure("contentOnly", [](const Edit& e) { return e.snapshot.contentOnly(); });
  measure("hasEdits", [](const Edit& e) { return e.snapshot.hasEdits(); });
  measure("changesPlayback", [](const Edit& e) { return e.snapshot.changesPlayback(e.duration); });
  measure("zooms", [](const Edit& e) { return e.snapshot.zooms("file-1"); });
  measure("activeCameraSettings",
          [](const Edit& e) { return e.snapshot.activeCameraSettings(e.half, e.duration, std::nullopt); });
  measure("setClips", [](const Edit& e) {
    auto snapshot = e.snapshot;
    snapshot.setClips(e.mixed, e.duration);
    return snapshot;
  });
}

void measureClips() {
  namespace List = TimelineClipList;
  measure("placed", [](const Edit& e) { return List::placed(e.mixed); });
  measure("index", [](const Edit& e) { return List::index(e.mixed, e.half); });
  measure("split", [](const Edit& e) { return List::split(e.mixed, e.half + 0.3); });
  measure("trim", [](const Edit& e) {
    const auto& clip = e.mixed[e.mixed.size() / 2];
    return List::trim(e.mixed, clip.id, TimelineClipEdge::trailing, 0);
  });
  measure("deleteOutputRange",
          [](const Edit& e) { return List::deleteOutputRange(e.mixed, e.half, e.half + 9); });
  measure("move", [](const Edit& e) { return List::move(e.mixed, e.mixed.back().id, 0); });
  measure("delete", [](const Edit& e) { return List::delete_(e.mixed, e.mixed.front().id); });
  measure("setSpeed", [](const Edit& e) {
    const auto& clip = e.mixed.back();
    return List::setSpeed(e.mixed, clip.id, clip.speed > 1 ? 1 : 2);
  });
  measure("legacy", [](const Edit& e) { return List::legacy(e.plain, e.duration); });
  measure("fromLegacy", [](const Edit& e) {
    return List::fromLegacy(e.legacy.trimRegions, e.legacy.splitTimes, e.legacy.clipSpeeds, e.duration);
  });
}

void measureAudio() {
  namespace Track = TimelineAudioTrack;
  measure("removeTime", [](const Edit& e) { return Track::removeTime(e.row, e.half, e.half + 9); });
  measure("insertTime", [](const Edit& e) { return Track::insertTime(e.row, e.row.back().start, 9); });
  measure("deleteRange", [](const Edit& e) { return Track::deleteRange(e.row, e.half, e.half + 9); });
  measure("move audio", [](const Edit& e) { return Track::move(e.row, e.row.back().id, 0); });
  measure("setSpeed audio", [](const Edit& e) {
    const auto& clip = e.row.front();
    return Track::setSpeed(e.row, clip.id, clip.speed > 1 ? 1 : 2);
  });
  measure("fitted", [](const Edit& e) {
    return TimelineMusic::fitted({{.source = "a", .duration = secondsPerClip}}, 0, e.duration);
  });
  measure("repeats", [](const Edit& e) { return TimelineMusic::repeats(e.row); });
  measure("runs", [](const Edit& e) { return TimelineMusic::runs(e.row, e.duration); });
  measure("every envelope", [](const Edit& e) {
    std::size_t ramps = 0;
    for (const auto& clip : e.row) ramps += TimelineMusic::envelope(clip, e.runs, e.duration).ramps.size();
    return ramps;
  });
}

const bool registered = [] {
  measureSnapshot();
  measureClips();
  measureAudio();
  return true;
}();

}  // namespace
}  // namespace quillant
