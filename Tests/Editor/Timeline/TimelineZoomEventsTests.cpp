#include "Editor/Timeline/PlaybackTime.h"
#include "Tests/Editor/Timeline/TimelineEventFixture.h"

namespace quillant {
namespace {

using namespace TimelineEvents;

const std::string overlap = "Cannot place zoom on top of another zoom.";

TEST(PlaybackTime, ReadsAsAPlayerShowsIt) {
  const std::pair<double, std::string> cases[] = {
      {0, "0:00"},         {7.999, "0:07"}, {59.9999999999, "1:00"}, {754, "12:34"},
      {3723.5, "1:02:03"}, {-3, "0:00"},    {notANumber, "0:00"}};
  for (const auto& [seconds, text] : cases) EXPECT_EQ(formatPlaybackTime(seconds), text);
}

TEST_F(TimelineEventRules, ZoomsAreAddedWhereNoOtherIs) {
  constexpr auto zoom = TimelineRegionKind::zoom;
  const auto added = [&](const std::string& span, const std::string& time) -> TimelineEditDescription::Lines {
    return {{"zooms", TimelineEditDescription::of(before, duration)["zooms"] + " new:" + span},
            {"selection", "zoom new"},
            {"status", "Added zoom at " + time + "."}};
  };
  const auto at = [](double start, double end, std::optional<std::string> source = {}) {
    return AddZoomRegion{{.id = numbered(39), .span = {start, end}, .source = source}};
  };
  auto touching = added("6-7", "0:06");
  expect(before, {
                     {Add{zoom, 6, duration}, added("6-7", "0:06")},
                     {Add{zoom, -3, duration}, added("0-1", "0:00")},
                     {Add{zoom, 19.5, duration}, added("19.5-20", "0:19")},
                     {Add{zoom, 99, duration}, added("19.9-20", "0:19")},
                     {Add{zoom, 0, 0.6}, added("0-0.6", "0:00")},
                     {Add{zoom, 0.5, 0.6}, added("0.5-0.6", "0:00")},
                     {Add{zoom, 4.001, duration}, {{"status", overlap}}},
                     {Add{zoom, 8, duration}, {{"status", overlap}}},
                     {Add{zoom, 1, notANumber}, {{"status", "Open a video before adding timeline edits."}}},
                     {at(1.5, 5), {{"status", overlap}}},
                     {at(0, 9, "file"), {{"status", overlap}}},
                 });
  EXPECT_EQ(after(before, at(2, 5)).snapshot.zoomRegions.size(), 4u) << "touches both neighbours";
  EXPECT_EQ(after(before, at(1, 8, "other")).selectedID, numbered(39))
      << "zooms of another source do not count";
  EXPECT_EQ(after(before, at(1, 8, "other")).statusMessage, "untouched");

  using Item = TimelineSelectedItem;
  expect(selecting({Item::clip(numbered(1))}),
         {{Add{TimelineRegionKind::trim, 1, duration},
           {{"selection", ""}, {"status", "Use clip splitting instead of trim sections."}}},
          {Add{TimelineRegionKind::annotation, 1, duration},
           {{"selection", ""}, {"status", "Annotations are currently unavailable."}}},
          {Add{zoom, 5.5, duration}, {{"status", overlap}}}});
}

TEST_F(TimelineEventRules, ZoomsChangeOneByOne) {
  const auto zoom = [](const std::string& text) -> TimelineEditDescription::Lines {
    return {{"zooms", "31:1-2auto-click7 32:" + text + " 33:8-9auto/file"}};
  };
  const auto styled = [&](const std::string& text, const std::string& style) {
    auto lines = zoom(text);
    lines["status"] = "Set zoom style to " + style + ".";
    return lines;
  };
  constexpr auto kind = TimelineRegionKind::zoom;
  using Preset = TimelineZoomAnimationPreset;
  const auto id = numbered(32);
  expect(before,
         {
             {UpdateSpan{kind, id, {1, 1.05}, duration}, zoom("1-1.1")},
             {UpdateSpan{kind, id, {-5, 99}, duration}, zoom("0-20")},
             {UpdateSpan{kind, id, {1, 2}, 0}, {}},
             {UpdateSpan{kind, numbered(9), {1, 2}, duration}, {}},
             {UpdateSpan{TimelineRegionKind::trim, id, {1, 2}, duration}, {}},
             {UpdateZoomSpan{id, 1, 1.05, duration}, zoom("1-1.3")},
             {UpdateZoomSpan{id, 1, 2, notANumber}, {}},
             {DeepenZoom{id}, zoom("5-6x2")},
             {UpdateZoomDepth{id, 9}, zoom("5-6x5")},
             {UpdateZoomDepth{id, 0}, zoom("5-6x1")},
             {UpdateZoomFocus{id, 0.2, 7}, zoom("5-6(0.2,1)")},
             {UpdateZoomFocus{numbered(31), {}, 0.1}, {{"zooms", "31:1-2(0.5,0.1) 32:5-6 33:8-9auto/file"}}},
             {UpdateZoomAnimationPreset{id, Preset::subtle}, styled("5-6-subtle", "Subtle")},
             {UpdateZoomAnimationPreset{id, Preset::snappy}, styled("5-6-snappy", "Snappy")},
             {UpdateZoomAnimationPreset{id, Preset::cinematic}, styled("5-6-cinematic", "Cinematic")},
             {UpdateZoomAnimationPreset{id, Preset::guided}, styled("5-6-guided", "Guided")},
             {UpdateZoomAnimationPreset{numbered(9), Preset::balanced}, styled("5-6", "Balanced")},
             {UpdateZoomSoftness{id, -1}, zoom("5-6-soft0")},
             {UpdateZoomEasing{id, TimelineZoomEasing::easeOut}, zoom("5-6-easeOut")},
             {UpdateZoomFollowsCursor{id, false}, zoom("5-6-still")},
             {UpdateZoomSoftness{numbered(9), 1}, {}},
         });
  const std::pair<double, double> steps[] = {{1, 1.25}, {1.6, 1.75}, {1.625, 1.75},
                                             {2, 1},    {3, 1},      {0, 1.25}};
  for (const auto& [depth, next] : steps) {
    auto state = before;
    state.snapshot.zoomRegions.mutate()[1].depth = depth;
    EXPECT_EQ(after(state, DeepenZoom{id}).snapshot.zoomRegions[1].depth, next) << depth;
  }
  auto cleared = before;
  for (const TimelineEditEvent& event : std::vector<TimelineEditEvent>{
           UpdateZoomSoftness{id, 1}, UpdateZoomEasing{id, TimelineZoomEasing::easeOut},
           UpdateZoomFollowsCursor{id, true}, UpdateZoomSoftness{id}, UpdateZoomEasing{id},
           UpdateZoomFollowsCursor{id}})
    cleared.applying(event);
  EXPECT_EQ(cleared, before);

  auto state = after(before, UpdateAnnotationText{numbered(51), "There"});
  state.applying(UpdateSpan{TimelineRegionKind::annotation, numbered(51), {3, 4}, duration});
  EXPECT_EQ(state.snapshot.annotationRegions[0],
            (TimelineAnnotationRegion{numbered(51), {3, 4}, "There", 0.5, 0.5, 20}));
}

TEST_F(TimelineEventRules, GenerationReplacesOnlyWhatItOwns) {
  const std::vector<TimelineZoomRegion> one = {{.id = numbered(36), .span = {5, 7}}};
  const std::vector<TimelineZoomRegion> two = {one[0], {.id = numbered(37), .span = {9, 10}}};
  auto start = selecting({TimelineSelectedItem::zoom(numbered(32))});
  start.snapshot.hiddenAutoZooms = {{.id = numbered(38), .span = {0, 1}},
                                    {.id = numbered(39), .span = {0, 1}, .source = "file"}};
  const auto kept = [](const std::string& zooms, const std::string& status) {
    return TimelineEditDescription::Lines{{"zooms", "32:5-6 33:8-9auto/file" + zooms},
                                          {"hidden", "39:0-1/file"},
                                          {"selection", ""},
                                          {"status", status}};
  };
  expect(start, {
                    {ReplaceAutoZooms{one}, kept(" 36:5-7auto", "Generated 1 automatic zoom.")},
                    {ReplaceAutoZooms{two}, kept(" 36:5-7auto 37:9-10auto", "Generated 2 automatic zooms.")},
                    {ReplaceAutoZooms{}, kept("", "No clicks found. Add a manual zoom with Z.")},
                    {RegenerateAutoZoomsRequested{},
                     {{"status", "Open a recording before generating automatic zooms."}}},
                });
  start.snapshot.autoZoomsOff = true;
  auto hidden = kept("", "Generated 1 automatic zoom.");
  hidden["hidden"] += " 36:5-7auto";
  expect(start, {{ReplaceAutoZooms{one}, hidden}});

  auto state = before;
  EXPECT_EQ(state.applying(RegenerateAutoZoomsRequested{"a.mp4", 3, TimelineZoomAnimationPreset::guided}),
            (TimelineEditEffects{GenerateAutoZooms{"a.mp4", 3, TimelineZoomAnimationPreset::guided}}));
  EXPECT_EQ(state, before);
}

TEST_F(TimelineEventRules, AutomaticZoomsHideAndComeBackInOrder) {
  auto state = after(selecting({TimelineSelectedItem::zoom(numbered(31))}), SetAutoZoomsOff{true});
  auto lines = TimelineEditDescription::of(state, duration);
  EXPECT_EQ(lines["zooms"], "32:5-6");
  EXPECT_EQ(lines["hidden"], "31:1-2auto-click7 33:8-9auto/file");
  EXPECT_EQ(lines["selection"], "");
  EXPECT_EQ(after(state, SetAutoZoomsOff{true}), state);
  state = after(after(state, Select{TimelineRegionKind::zoom, numbered(32)}), SetAutoZoomsOff{false});
  EXPECT_TRUE(state.snapshot == before.snapshot);
  EXPECT_EQ(state.selectedID, numbered(32));
}

TEST_F(TimelineEventRules, CameraClipsDivideAndMerge) {
  const FacecamSettings big = {.size = 99};
  const auto merged = [](const std::string& camera, const std::string& id) {
    return TimelineEditDescription::Lines{
        {"camera", camera}, {"selection", "camera " + id}, {"status", "Merged camera clips."}};
  };
  constexpr auto previous = TimelineCameraMergeDirection::previous;
  constexpr auto next = TimelineCameraMergeDirection::next;
  const std::string outside = "Move the playhead inside the camera clip before splitting.";
  expect(
      after(before, SelectClip{numbered(1)}),
      {
          {EnsureCameraClips{duration, big}, {}},
          {SplitCameraClip{7, duration, {}},
           {{"camera", "41:0-5 42:5-7 new:7-12 43:15-20"},
            {"selection", ""},
            {"status", "Split camera at 0:07."}}},
          {SplitCameraClip{5.03, duration, {}}, {{"status", "There is already a camera split at 0:05."}}},
          {SplitCameraClip{13, duration, {}}, {{"status", "There is already a camera split at 0:13."}}},
          {SplitCameraClip{0.05, duration, {}}, {{"status", outside}}},
          {SplitCameraClip{99, duration, {}}, {{"status", outside}}},
          {SplitCameraClip{notANumber, duration, {}}, {{"status", outside}}},
          {SplitCameraClip{7, 0, big}, {{"status", "Record with camera before splitting camera settings."}}},
          {UpdateCameraClipSettings{numbered(42), big},
           {{"camera", "41:0-5 42:5-12o40 43:15-20"}, {"status", "Updated camera settings."}}},
          {UpdateCameraClipSettings{numbered(9), big}, {}},
          {MergeCameraClip{numbered(42), previous}, merged("42:0-12 43:15-20", "42")},
          {MergeCameraClip{numbered(42), next}, merged("41:0-5 42:5-20", "42")},
          {MergeCameraClip{numbered(41), previous}, {}},
          {MergeCameraClip{numbered(43), next}, {}},
          {MergeCameraClip{numbered(9), next}, {}},
          {DeleteCameraClip{numbered(42), duration, big},
           {{"camera", "41:0-5 43:15-20"}, {"status", "Deleted camera clip."}}},
          {DeleteCameraClip{numbered(9), duration, {}},
           {{"status", "Selected camera clip is no longer available."}}},
          {DeleteCameraClip{numbered(42), 0, {}},
           {{"status", "Open a video before deleting a camera clip."}}},
      });
  auto none = before;
  none.snapshot.cameraClips = {};
  expect(none, {{EnsureCameraClips{duration, big}, {{"camera", "new:0-20o40"}}},
                {EnsureCameraClips{0, big}, {}},
                {EnsureCameraClips{duration, {}}, {}},
                {SplitCameraClip{0.026, 0.1, big},
                 {{"camera", "new:0-0.026o40 new:0.026-0.1o40"}, {"status", "Split camera at 0:00."}}},
                {SplitCameraClip{0.025, 0.1, big}, {{"status", outside}}},
                {SplitCameraClip{7, duration, {}},
                 {{"status", "Record with camera before splitting camera settings."}}},
                {DeleteCameraClip{numbered(41), duration, big},
                 {{"status", "Cannot delete the only camera clip."}}}});
}

}  // namespace
}  // namespace quillant
