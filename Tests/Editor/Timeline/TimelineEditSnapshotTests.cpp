#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <tuple>

#include "Core/JSON.h"
#include "Editor/Timeline/TimelineClipList.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {
namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// Reads JSON in single quotes, where "ID" and "SPAN" stand for members that read well.
TimelineEditSnapshot decode(std::string text) {
  const std::pair<std::string_view, std::string_view> members[] = {
      {"ID", "'id': '0A1B2C3D-4E5F-6789-ABCD-EF0123456789'"}, {"SPAN", "'span': {'start': 1, 'end': 2}"}};
  for (const auto& [name, member] : members)
    for (std::size_t at; (at = text.find(name)) != std::string::npos;) text.replace(at, name.size(), member);
  std::ranges::replace(text, '\'', '"');
  return JSON::decode<TimelineEditSnapshot>(JSON::parse(text));
}

TEST(TimelineEditSnapshot, TakesTheDefaultForWhatIsMissing) {
  EXPECT_EQ(decode("{'later': 1}"), TimelineEditSnapshot());
  const auto edit = decode(R"({
      'zoomRegions': [{SPAN}], 'cameraClips': [{SPAN}],
      'audioClips': [{'source': 'a', 'start': 0, 'sourceStart': 0, 'sourceEnd': 1}],
      'recordingSound': {'micMuted': true}, 'captions': {}})");
  const auto &zoom = edit.zoomRegions[0].id, &camera = edit.cameraClips[0].id, &voice = edit.audioClips[0].id;
  for (const auto& fresh : {zoom, camera, voice}) EXPECT_NE(fresh, UUID());
  EXPECT_EQ(edit.zoomRegions[0], (TimelineZoomRegion{.id = zoom, .span = {1, 2}, .depth = 1.75}));
  EXPECT_EQ(edit.cameraClips[0],
            (TimelineCameraClip{camera, {1, 2}, {true, "circle", 22, 24, 4, "#FFFFFF", 4, "bottom-right"}}));
  EXPECT_EQ(edit.audioClips[0], (TimelineAudioClip{voice, "a", 0, 0, 1, 1, 1, false, std::nullopt}));
  EXPECT_EQ(edit.recordingSound, (TimelineRecordingSound{1, true, 1, false, false}));
  EXPECT_EQ(edit.captions, TimelineCaptions());
}

TEST(TimelineEditSnapshot, MendsWhatItMayOnReading) {
  const auto music = decode(R"({'musicClips': [
      {'source': 'b', 'start': 3, 'sourceStart': 0, 'sourceEnd': 2, 'voiceCleanup': false},
      {'source': 'a', 'start': -1, 'sourceStart': 0, 'sourceEnd': 4, 'voiceCleanup': true}]})")
                         .musicClips;
  EXPECT_EQ(music[0], (TimelineAudioClip{music[0].id, "a", 0, 0, 4, 1, 1, false, true}));
  EXPECT_EQ(music[1], (TimelineAudioClip{music[1].id, "b", 4, 0, 2})) << "pushed behind the clip before it";
  for (const std::string style : {"7", "'neon'", "null"}) {
    const auto edit = decode("{'captions': {'on': true, 'style': " + style + R"(, 'transcripts': [
        {'source': 's', 'track': 'mic', 'language': 'en',
         'words': [[1.23456, 1.0, 'word'], [2e307, 1e308, 'late']]}]}})");
    const TimelineTranscript expected = {
        "s", TimelineTranscriptTrack::mic, "en", {{1.235, 1.235, "word"}, {2e307, 1e308, "late"}}};
    EXPECT_EQ(edit.captions, (TimelineCaptions{true, TimelineCaptionStyle::box, {expected}})) << style;
  }
  EXPECT_EQ(decode("{'mutedRows': ['voice', 'drums', 'voice', 'clips']}").mutedRows,
            (std::vector{TimelineMuteRow::clips, TimelineMuteRow::voice}));
  EXPECT_EQ(decode("{'clips': [], 'clipSplitTimes': [3]}").clipList, std::nullopt);
  EXPECT_EQ(*decode("{'clipSpeeds': {'0': 1.5, '12': 2, '0': 1.25}}").clipSpeeds,
            (std::map<std::int64_t, double>{{0, 1.25}, {12, 2}}));
  const auto camera = decode(R"({'cameraClips': [{SPAN, 'settings': {
      'enabled': true, 'shape': ' Square\n', 'size': 5, 'cornerRadius': 1e9, 'borderWidth': -1,
      'borderColor': ' ', 'margin': 13, 'anchor': 'nowhere'}}]})")
                          .cameraClips;
  EXPECT_EQ(camera[0].settings, (FacecamSettings{true, "square", 12, 100, 0, "#FFFFFF", 12, "bottom-right"}));
}

TEST(TimelineEditSnapshot, NamesTheKeyThatCannotBeRead) {
  const std::pair<const char*, const char*> cases[] = {
      {"{'zoomRegions': [{}]}", "zoomRegions[0].span"},
      {"{'zoomRegions': [{SPAN}, {SPAN, 'mode': 'Auto'}]}", "zoomRegions[1].mode"},
      {"{'zoomRegions': [{SPAN, 'id': '7'}]}", "zoomRegions[0].id"},
      {"{'zoomRegions': [{SPAN, 'sourceClickTimestamp': 1e30}]}", "zoomRegions[0].sourceClickTimestamp"},
      {"{'clipSpeeds': {'one': 1}}", "clipSpeeds.one"},
      {"{'clipSpeeds': {'9223372036854775808': 1}}", "clipSpeeds.9223372036854775808"},
      {"{'cameraClips': [{SPAN, 'settings': {'enabled': true}}]}", "cameraClips[0].settings.shape"},
      {"{'clips': [{ID, 'start': 0, 'end': true}]}", "clips[0].end"},
      {"{'captions': {'transcripts': [{'source': '', 'track': 'mic', 'language': '', 'words': [[0, 1]]}]}}",
       "captions.transcripts[0].words[0]"},
      {"[]", ""},
  };
  for (const auto& [text, path] : cases) {
    try {
      decode(text);
      ADD_FAILURE() << text;
    } catch (const JSONError& error) {
      EXPECT_EQ(error.path(), path) << text;
    }
  }
}

Json content(const TimelineEditSnapshot& edit) {
  return edit.contentOnly();
}

TEST(TimelineEditSnapshot, IsTheSameEditAfterItsJSON) {
  for (std::uint64_t seed = 0; seed < 100; ++seed) {
    const auto edit = GeneratedEdits(seed).snapshot(60, {});
    const auto back = decode(JSON::pretty(Json(edit)));
    EXPECT_EQ(Json::diff(content(edit), content(back)), Json::array()) << seed;
    EXPECT_EQ(back.audioClips, edit.audioClips) << seed;
  }
}

TEST(TimelineEditSnapshot, WritesOnlyWhatItHolds) {
  const Json empty = TimelineEditSnapshot();
  EXPECT_EQ(JSON::compact(empty),
            R"({"annotationRegions":[],"cameraClips":[],"clipSpeeds":{},"clipSplitTimes":[],)"
            R"("trimRegions":[],"zoomRegions":[]})");
  TimelineEditSnapshot broken;
  broken.clipSplitTimes = {notANumber};
  EXPECT_THROW(JSON::pretty(Json(broken)), JSONError) << "rather than a file that cannot be read";
}

TEST(TimelineEditSnapshot, WritesAListInTheOlderFormWhereThatSaysIt) {
  TimelineEditSnapshot edit = {.clipSplitTimes = {1, 2, 3}};
  edit.setClips({{.end = 4}, {.start = 6, .end = 10, .speed = 2}}, 10);
  Json json = edit;
  EXPECT_FALSE(json.contains("clips"));
  EXPECT_EQ(json["clipSplitTimes"], Json({4.0, 6.0}));
  EXPECT_EQ(json["clipSpeeds"], Json({{"2", 2.0}}));

  edit.clipListDuration = 0;  // as of a list that came from a file
  json = edit;
  EXPECT_EQ(json["clips"].size(), 2u);
  EXPECT_TRUE(json["clipSplitTimes"].empty());

  edit.setClips({{.id = UUID::random(), .end = 1.0003},
                 {.start = 1, .end = 2},
                 {.start = 2, .end = 3, .speed = 1.1},
                 {.start = 3, .end = 10, .cameraHidden = false}},
                10);
  EXPECT_FALSE(edit.clipList) << "the stored form says the same already";
  EXPECT_EQ(edit.clipListDuration, 0);
}

TEST(TimelineEditSnapshot, KnowsWhatCountsAsAnEdit) {
  using Change = void (*)(TimelineEditSnapshot&);
  const std::pair<Change, bool> cases[] = {
      {[](auto&) {}, false},
      {[](auto& e) { e.audioSources = {{.id = "a"}}; }, false},
      {[](auto& e) { e.captions.emplace(); }, false},
      {[](auto& e) { e.clipSpeeds.mutate()[3] = infinity; }, false},
      {[](auto& e) { e.clipSpeeds.mutate()[3] = 1.1; }, false},
      {[](auto& e) { e.captions = TimelineCaptions{.on = true}; }, true},
      {[](auto& e) { e.clipSpeeds.mutate()[3] = 2; }, true},
      {[](auto& e) { e.clipList.emplace(); }, true},
      {[](auto& e) { e.recordingSound.voiceCleanup = true; }, true},
      {[](auto& e) { e.hiddenAutoZooms = {{}}; }, true},
      {[](auto& e) { e.sources = {{.id = "a"}}; }, true},
  };
  for (const auto& [change, counts] : cases) {
    TimelineEditSnapshot edit;
    change(edit);
    EXPECT_EQ(edit.hasEdits(), counts) << JSON::compact(Json(edit));
  }
}

TEST(TimelineEditSnapshot, KnowsWhatChangesPlayback) {
  const auto changes = [](std::vector<TimelineClip> clips) {
    TimelineEditSnapshot edit;
    edit.clipList = std::move(clips);
    return edit.changesPlayback(10);
  };
  EXPECT_FALSE(changes({{.end = 10}}));
  EXPECT_FALSE(changes({{.start = 0.001, .end = 4}, {.start = 4.0009, .end = 9.9995}}));
  EXPECT_FALSE(changes({{.end = 10, .speed = 1.1}}));
  EXPECT_FALSE(changes({}));
  EXPECT_TRUE(changes({{.start = 0.002, .end = 10}}));
  EXPECT_TRUE(changes({{.end = 9.99}}));
  EXPECT_TRUE(changes({{.end = 4}, {.start = 5, .end = 10}}));
  EXPECT_TRUE(changes({{.end = 10, .speed = 1.2}}));
  EXPECT_TRUE(changes({{.end = 10, .source = "file"}}));
}

TEST(TimelineEditSnapshot, ShowsTheCameraByItsClipsAndElseByTheFallback) {
  const FacecamSettings square = {.shape = " SQUARE ", .size = 99};
  TimelineEditSnapshot edit;
  edit.cameraClips = {
      {UUID(), {6, 12}, square}, {UUID(), {2, 8}, {.enabled = false}}, {UUID(), {4, 4.0005}, square}};
  const std::vector<TimelineCameraClip> inOrder = {{UUID(), {2, 8}, {.enabled = false}},
                                                   {UUID(), {6, 10}, square.clamped()}};
  EXPECT_EQ(edit.resolvedCameraClips(10, std::nullopt), inOrder) << "a sliver is no clip";
  EXPECT_EQ(edit.activeCameraSettings(1, 10, square), std::nullopt) << "the fallback is for no clips at all";
  EXPECT_EQ(edit.activeCameraSettings(3, 10, square), std::nullopt) << "switched off";
  EXPECT_EQ(edit.activeCameraSettings(7, 10, square), square.clamped()) << "the later clip wins";
  EXPECT_EQ(edit.activeCameraSettings(10, 10, square), square.clamped()) << "at the very end";

  edit.cameraClips = {{UUID(), {4, 4.0005}, square}};
  EXPECT_EQ(edit.resolvedCameraClips(10, square).at(0).span, (TimelineSpan{0, 10}));
  EXPECT_TRUE(edit.resolvedCameraClips(0, square).empty());

  edit.clipList = {{.end = 5, .cameraFullScreen = true}, {.start = 5, .end = 10, .cameraHidden = false}};
  edit.clearCameraLayouts(10);
  EXPECT_EQ((*edit.clipList)[0].cameraFullScreen, std::nullopt);
  EXPECT_EQ((*edit.clipList)[1].cameraHidden, std::nullopt);
}

TEST(TimelineEditSnapshot, KeepsTheZoomsOfOneFile) {
  TimelineEditSnapshot edit = {.cameraClips = {{}}};
  edit.zoomRegions = {{.depth = 1}, {.depth = 2, .source = "file-0"}, {.depth = 3, .source = "file-1"}};
  const auto main = edit.zooms(std::nullopt), file = edit.zooms("file-1");
  EXPECT_EQ(*main.zoomRegions, std::vector{edit.zoomRegions[0]});
  EXPECT_EQ(main.cameraClips, edit.cameraClips);
  EXPECT_EQ(*file.zoomRegions, std::vector{edit.zoomRegions[2]});
  EXPECT_TRUE(file.cameraClips.empty());
}

TEST(TimelineSpan, IsBroughtIntoTheTimeline) {
  const std::tuple<TimelineSpan, double, double, TimelineSpan> cases[] = {
      {{0, 5}, 0.05, 0.1, {0, 0.05}},
      {{9.99, 10}, 10, 0.5, {9.5, 10}},
      {{20, 30}, 10, 0, {9.99, 10}},
      {{4, 2}, 10, 1, {4, 5}},
      {{1, 2}, -1, 0.1, {0, 0}},
      {{-infinity, infinity}, 10, 1, {0, 10}},
      {{notANumber, notANumber}, 10, 1, {0, 1}}};
  for (const auto& [span, duration, minimum, expected] : cases)
    EXPECT_EQ(span.normalized(duration, minimum), expected) << span.start << " in " << duration;
}

TEST(TimelineCaptions, ReplacesATranscriptInItsPlace) {
  const TimelineTranscript mic = {"a", TimelineTranscriptTrack::mic, "en", {}};
  const TimelineTranscript system = {"a", TimelineTranscriptTrack::system, "en", {}};
  TimelineCaptions captions = {.transcripts = {mic, system}};
  auto french = mic;
  french.language = "fr";
  captions.setTranscript(french);
  EXPECT_EQ(captions.transcripts, (std::vector{french, system}));
}

}  // namespace
}  // namespace quillant
