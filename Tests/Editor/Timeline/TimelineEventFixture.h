#pragma once

#include <cstdint>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "Core/JSON.h"
#include "Editor/Timeline/TimelineEditEvent.h"
#include "Editor/Timeline/TimelineEditState.h"

namespace quillant {

inline constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
inline constexpr auto leading = TimelineClipEdge::leading, trailing = TimelineClipEdge::trailing;

inline UUID numbered(std::uint8_t number) {
  UUID id;
  id.bytes[15] = number;
  return id;
}

/// What a state says, a line a part, so that a test names only the lines that change. Ids are numbers, fresh
/// ones "new"; what is as usual is left out.
class TimelineEditDescription {
 public:
  static std::map<std::string, std::string> of(const TimelineEditState& state, double duration) {
    const auto& edit = state.snapshot;
    std::map<std::string, std::string> lines = {
        {"voice", row(edit.audioClips)},    {"music", row(edit.musicClips)},
        {"zooms", zooms(edit.zoomRegions)}, {"hidden", zooms(edit.hiddenAutoZooms)},
        {"selection", selection(state)},    {"status", state.statusMessage}};
    for (const auto& clip : edit.effectiveClips(duration)) {
      auto& line = add(lines["clips"], clip.id, clip.start, clip.end);
      if (clip.speed != 1) line += fmt::format("x{:g}", clip.speed);
      if (clip.source) line += "/" + *clip.source;
      if (clip.sound) line += fmt::format("~{:g}", clip.sound->micVolume);
      if (clip.cameraHidden) line += "-hidden";
      if (clip.cameraFullScreen) line += "-full";
    }
    for (const auto& clip : edit.cameraClips) {
      auto& line = add(lines["camera"], clip.id, clip.span.start, clip.span.end);
      if (clip.settings.size != 22) line += fmt::format("o{:g}", clip.settings.size);
    }
    auto rest = edit;
    rest.clipList.reset();
    rest.audioClips = rest.musicClips = {};
    rest.zoomRegions = rest.hiddenAutoZooms = {};
    rest.cameraClips = {};
    lines["rest"] = JSON::compact(Json(rest));
    return lines;
  }

 private:
  static std::string name(const UUID& id) {
    return id == numbered(id.bytes[15]) ? std::to_string(id.bytes[15]) : "new";
  }
  static std::string& add(std::string& line, const UUID& id, double start, double end) {
    return line += fmt::format("{}{}:{:g}-{:g}", line.empty() ? "" : " ", name(id), start, end);
  }
  static std::string row(const std::vector<TimelineAudioClip>& clips) {
    std::string line;
    for (const auto& clip : clips) {
      add(line, clip.id, clip.sourceStart, clip.sourceEnd) += fmt::format("@{:g}", clip.start);
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
    }
    return line;
  }
  static std::string selection(const TimelineEditState& state) {
    constexpr const char* kinds[] = {"clip ", "zoom ", "audio "};
    std::string line;
    for (const auto& item : state.selectedItems())
      line += (line.empty() ? "" : ", ") + (kinds[static_cast<int>(item.kind)] + name(item.id));
    if (state.selectedCameraClipID) line += "camera " + name(*state.selectedCameraClipID);
    if (state.selectedKind == TimelineRegionKind::annotation) line += "annotation " + name(*state.selectedID);
    return line;
  }
};

/// Carries each event out on one state, which stands unchanged for the next one.
class TimelineEventRules : public testing::Test {
 protected:
  using Item = TimelineSelectedItem;

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
    std::string changes;  ///< The lines that change, between bars. A status that comes first is a refusal.
  };

  static TimelineEditState after(TimelineEditState state, const TimelineEditEvent& event) {
    EXPECT_EQ(state.applying(event), TimelineEditEffects());
    return state;
  }

  static void expect(const TimelineEditState& start, const std::vector<Case>& cases) {
    for (const auto& [event, changes] : cases) {
      SCOPED_TRACE(fmt::format("event {}: {}", event.rule.index(), changes));
      auto expected = TimelineEditDescription::of(start, duration);
      std::istringstream lines(changes);
      for (std::string line; std::getline(lines, line, '|');) {
        const auto blank = line.find(' ');
        expected[line.substr(0, blank)] = line.substr(blank + 1);
      }
      const auto state = after(start, event);
      EXPECT_EQ(TimelineEditDescription::of(state, duration), expected);
      const bool isRefusal = changes.empty() || changes.starts_with("status");
      EXPECT_TRUE(!isRefusal || state.snapshot == start.snapshot);
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
