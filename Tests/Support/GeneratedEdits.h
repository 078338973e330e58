#pragma once

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "Editor/Timeline/TimelineAudioTrack.h"
#include "Editor/Timeline/TimelineClipList.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"

namespace quillant {

/// Edits as a user might make them, for properties and for measures: the same seed gives the same edits,
/// apart from the ids that a rule draws.
class GeneratedEdits {
 public:
  /// How much an edit holds.
  struct Extent {
    std::size_t clips = 12;
    std::size_t zooms = 6;
    std::size_t audioClips = 8;
    std::size_t words = 20;
  };

  explicit GeneratedEdits(std::uint64_t seed) : random_(seed) {}

  /// Whole milliseconds, as a pointer on a timeline gives them.
  double time(double from, double to) {
    return std::round((from + (to - from) * std::uniform_real_distribution<>(0, 1)(random_)) * 1000) / 1000;
  }
  std::size_t below(std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_);
  }
  bool chance(double probability) { return std::bernoulli_distribution(probability)(random_); }
  double speed() { return 1 + 0.25 * static_cast<double>(below(5)); }
  UUID id() {
    UUID id;
    for (auto& byte : id.bytes) byte = static_cast<std::uint8_t>(random_());
    return id;
  }

  /// Clips of the recording in source order, with cuts between some of them: what the older form can say.
  std::vector<TimelineClip> plainClips(std::size_t count, double duration) {
    const double length = duration / static_cast<double>(count);
    std::vector<TimelineClip> clips;
    double start = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const double slot = length * static_cast<double>(i);
      if (chance(0.3)) start = std::max(start, std::round((slot + length * 0.3) * 1000) / 1000);
      const double end = i + 1 == count ? duration : std::round((slot + length * 0.9) * 1000) / 1000;
      clips.push_back({.id = id(), .start = start, .end = end, .speed = speed()});
      start = end;
    }
    return clips;
  }

  /// Clips in any order, of several files, with choices of their own.
  std::vector<TimelineClip> clips(std::size_t count, double duration) {
    auto clips = plainClips(count, duration);
    for (auto& clip : clips) {
      if (chance(0.2)) clip.source = "file-" + std::to_string(below(3));
      if (chance(0.2)) clip.sound = TimelineRecordingSound{.micVolume = 0.5, .systemMuted = true};
      if (chance(0.2)) clip.cameraHidden = chance(0.5);
      if (chance(0.2)) clip.cameraFullScreen = chance(0.5);
    }
    std::shuffle(clips.begin(), clips.end(), random_);
    return clips;
  }

  std::vector<TimelineZoomRegion> zooms(std::size_t count, double duration) {
    std::vector<TimelineZoomRegion> zooms;
    for (std::size_t i = 0; i < count; ++i) {
      TimelineZoomRegion zoom = {.id = id(), .depth = 1 + time(0, 2), .focusX = time(0, 1)};
      zoom.span.start = duration * static_cast<double>(i) / static_cast<double>(count);
      zoom.span.end = zoom.span.start + time(0.1, 0.9) * duration / static_cast<double>(count);
      zoom.animationPreset = rawTexts<TimelineZoomAnimationPreset>[below(5)].first;
      if (chance(0.5)) {
        zoom.mode = TimelineZoomMode::auto_;
        zoom.sourceClickTimestamp = std::llround(zoom.span.start * 1000);
      }
      if (chance(0.3)) zoom.softness = time(0, 1);
      if (chance(0.3)) zoom.easing = rawTexts<TimelineZoomEasing>[below(3)].first;
      if (chance(0.3)) zoom.followsCursor = chance(0.5);
      if (chance(0.2)) zoom.source = "file-" + std::to_string(below(3));
      zooms.push_back(std::move(zoom));
    }
    return zooms;
  }

  /// A row of sound in order, with gaps between some clips.
  std::vector<TimelineAudioClip> audioRow(std::size_t count) {
    std::vector<TimelineAudioClip> row;
    double start = 0;
    for (std::size_t i = 0; i < count; ++i) {
      if (chance(0.4)) start += time(0.01, 3);
      const double sourceStart = chance(0.5) ? 0 : time(0, 10);
      row.push_back({.id = id(),
                     .source = "song-" + std::to_string(below(3)),
                     .start = start,
                     .sourceStart = sourceStart,
                     .sourceEnd = sourceStart + time(0.2, 8),
                     .speed = speed(),
                     .volume = time(0, 1),
                     .muted = chance(0.2)});
      if (chance(0.2)) row.back().voiceCleanup = true;
      start = row.back().end();
    }
    return row;
  }

  TimelineCaptions captions(std::size_t words) {
    std::vector<TimelineCaptionWord> list;
    for (std::size_t i = 0; i < words; ++i) {
      const double start = static_cast<double>(i * 400) / 1000;
      list.push_back({start, time(start, start + 0.4), "word" + std::to_string(below(1000))});
    }
    return {.on = chance(0.5),
            .style = TimelineCaptionStyle::outline,
            .transcripts = {{.source = "recording", .language = "en-US", .words = std::move(list)}}};
  }

  TimelineEditSnapshot snapshot(double duration, Extent extent) {
    TimelineEditSnapshot edit;
    edit.zoomRegions = zooms(extent.zooms, duration);
    edit.hiddenAutoZooms = zooms(extent.zooms / 2, duration);
    const auto spans = zooms(extent.zooms, duration);
    for (const auto& zoom : spans)
      edit.cameraClips.mutate().push_back({id(), zoom.span, {.size = time(0, 50)}});
    if (chance(0.2)) edit.annotationRegions = {{id(), {1, 2}, "Press “Start”", 0.1, 0.9, 24}};
    if (chance(0.5))
      edit.setClips(plainClips(extent.clips, duration), duration);
    else
      edit.setClips(clips(extent.clips, duration), duration);
    edit.sources = {{.id = "file-0", .fileExtension = "mp4", .facecamOffsetMs = 40, .displayName = "Intro"}};
    edit.audioSources = {{.id = "song-0", .fileExtension = "m4a", .displayName = "Été"}};
    edit.audioClips = audioRow(extent.audioClips);
    edit.musicClips = audioRow(extent.audioClips);
    edit.recordingSound.voiceCleanup = chance(0.5);
    for (const auto& [row, text] : rawTexts<TimelineMuteRow>) edit.setMuted(row, chance(0.5));
    edit.autoZoomsOff = chance(0.3);
    if (chance(0.8)) edit.captions = captions(extent.words);
    return edit;
  }

 private:
  std::mt19937_64 random_;
};

}  // namespace quillant
