#pragma once

#include <cstdint>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "Core/JSON.h"
#include "Editor/Timeline/TimelineEditEvent.h"
#include "Editor/Timeline/TimelineEditState.h"

namespace quillant {

inline constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
inline constexpr TimelineClipEdge leading = TimelineClipEdge::leading;
inline constexpr TimelineClipEdge trailing = TimelineClipEdge::trailing;

inline UUID numbered(std::uint8_t number) {
  UUID id;
  id.bytes[15] = number;
  return id;
}

/// What a state says, a line a part, so that a test names only the lines that change. Ids are numbers, fresh
/// ones "new"; what is as usual is left out.
class TimelineEditDescription {
 public:
  using Lines = std::map<std::string, std::string>;

  static Lines of(const TimelineEditState& state, double duration) {
    auto rest = state.snapshot;
    Lines lines;
    for (const auto& clip : state.snapshot.effectiveClips(duration)) {
      add(lines["clips"], clip.id, clip.start, clip.end);
      auto& line = lines["clips"];
      if (clip.speed != 1) line += fmt::format("x{:g}", clip.speed);
      if (clip.source) line += "/" + *clip.source;
      if (clip.sound) line += fmt::format("~{:g}", clip.sound->micVolume);
      if (clip.cameraHidden) line += "-hidden";
      if (clip.cameraFullScreen) line += "-full";
    }
    lines["voice"] = row(state.snapshot.audioClips);
    lines["music"] = row(state.snapshot.musicClips);
    lines["zooms"] = zooms(state.snapshot.zoomRegions);
    lines["hidden"] = zooms(state.snapshot.hiddenAutoZooms);
    for (const auto& clip : state.snapshot.cameraClips) {
      add(lines["camera"], clip.id, clip.span.start, clip.span.end);
      if (clip.settings.size != 22) lines["camera"] += fmt::format("o{:g}", clip.settings.size);
    }
    lines["selection"] = selection(state);
    lines["status"] = state.statusMessage;
    rest.clipList.reset();
    rest.audioClips = rest.musicClips = {};
    rest.zoomRegions = rest.hiddenAutoZooms = {};
    rest.cameraClips = {};
    lines["rest"] = JSON::compact(Json(rest));
    return lines;
  }

 private:
  static std::string name(const UUID& id) {
    auto first = id;
    first.bytes[15] = 0;
    return first == UUID() ? std::to_string(id.bytes[15]) : "new";
  }
  static void add(std::string& line, const UUID& id, double start, double end) {
    line += fmt::format("{}{}:{:g}-{:g}", line.empty() ? "" : " ", name(id), start, end);
  }
  static std::string row(const std::vector<TimelineAudioClip>& clips) {
    std::string line;
    for (const auto& clip : clips) {
      add(line, clip.id, clip.sourceStart, clip.sourceEnd);
      line += fmt::format("@{:g}", clip.start);
      if (clip.speed != 1) line += fmt::format("x{:g}", clip.speed);
      if (clip.volume != 1) line += fmt::format("~{:g}", clip.volume);
      if (clip.muted) line += "-muted";
      if (clip.voiceCleanup) line += "-clean";
    }
    return line;
  }
  static std::string zooms(const std::vector<TimelineZoomRegion>& zooms) {
    std::string line;
    for (const auto& zoom : zooms) {
      add(line, zoom.id, zoom.span.start, zoom.span.end);
      if (zoom.mode == TimelineZoomMode::auto_) line += "auto";
      if (zoom.source) line += "/" + *zoom.source;
      if (zoom.depth != 1.75) line += fmt::format("x{:g}", zoom.depth);
      if (zoom.focusX != 0.5 || zoom.focusY != 0.5)
        line += fmt::format("({:g},{:g})", zoom.focusX, zoom.focusY);
      if (zoom.animationPreset != TimelineZoomAnimationPreset::balanced)
        line += fmt::format("-{}", rawText(zoom.animationPreset));
      if (zoom.sourceClickTimestamp) line += fmt::format("-click{}", *zoom.sourceClickTimestamp);
      if (zoom.softness) line += fmt::format("-soft{:g}", *zoom.softness);
      if (zoom.easing) line += fmt::format("-{}", rawText(*zoom.easing));
      if (zoom.followsCursor) line += *zoom.followsCursor ? "-follows" : "-still";
    }
    return line;
  }
  static std::string selection(const TimelineEditState& state) {
    constexpr const char* kinds[] = {"clip", "zoom", "audio"};
    std::string line;
    const auto add = [&line](std::string_view kind, const UUID& id) {
      line += fmt::format("{}{} {}", line.empty() ? "" : ", ", kind, name(id));
    };
    for (const auto& item : state.selectedItems()) add(kinds[static_cast<int>(item.kind)], item.id);
    if (state.selectedCameraClipID) add("camera", *state.selectedCameraClipID);
    if (state.selectedKind && state.selectedKind != TimelineRegionKind::zoom)
      add(rawText(*state.selectedKind), *state.selectedID);
    return line;
  }
};

/// Carries each event out on one state, which stands unchanged for the next one.
class TimelineEventRules : public testing::Test {
 protected:
  /// 20 s in three clips that play for 16 s, a voice over each joint, a song twice, and a zoom of each kind.
  TimelineEventRules() {
    auto& edit = before.snapshot;
    edit.setClips({{numbered(1), 0, 4}, {numbered(2), 6, 10, 2}, {numbered(3), 10, 20}}, duration);
    edit.audioClips = {{numbered(11), "voice", 3, 0, 2}, {numbered(12), "voice", 8, 10, 12}};
    edit.musicClips = {{numbered(21), "song", 0, 0, 3}, {numbered(22), "song", 3, 0, 3}};
    edit.zoomRegions = {
        {.id = numbered(31), .span = {1, 2}, .mode = TimelineZoomMode::auto_, .sourceClickTimestamp = 7},
        {.id = numbered(32), .span = {5, 6}},
        {.id = numbered(33), .span = {8, 9}, .mode = TimelineZoomMode::auto_, .source = "file"}};
    edit.cameraClips = {
        {numbered(41), {0, 5}, {}}, {numbered(42), {5, 12}, {}}, {numbered(43), {15, 20}, {}}};
    edit.annotationRegions = {{numbered(51), {1, 2}, "Here", 0.5, 0.5, 20}};
    before.statusMessage = "untouched";
  }

  struct Case {
    TimelineEditEvent event;
    TimelineEditDescription::Lines changes;  ///< With nothing but a status, a refusal.
  };

  static TimelineEditState after(TimelineEditState state, const TimelineEditEvent& event) {
    EXPECT_EQ(state.applying(event), TimelineEditEffects());
    return state;
  }

  static void expect(const TimelineEditState& start, const std::vector<Case>& cases) {
    for (std::size_t i = 0; i < cases.size(); ++i) {
      auto expected = TimelineEditDescription::of(start, duration);
      for (const auto& [line, text] : cases[i].changes) expected[line] = text;
      const auto state = after(start, cases[i].event);
      EXPECT_EQ(TimelineEditDescription::of(state, duration), expected) << "case " << i;
      const bool refused =
          cases[i].changes.empty() || (cases[i].changes.size() == 1 && cases[i].changes.contains("status"));
      EXPECT_TRUE(!refused || state.snapshot == start.snapshot) << "case " << i;
    }
  }

  TimelineEditState selecting(const std::vector<TimelineSelectedItem>& items) const {
    auto state = before;
    state.setSelection(items);
    return state;
  }

  static constexpr double duration = 20;
  TimelineEditState before;
};

}  // namespace quillant
