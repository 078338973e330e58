#include "Editor/Timeline/PlaybackTime.h"
#include "Tests/Editor/Timeline/TimelineEventFixture.h"

namespace quillant {
namespace {

using namespace TimelineEvents;

TEST(PlaybackTime, ReadsAsAPlayerShowsIt) {
  const std::pair<double, std::string> cases[] = {
      {0, "0:00"},         {7.999, "0:07"}, {59.9999999999, "1:00"}, {754, "12:34"},
      {3723.5, "1:02:03"}, {-3, "0:00"},    {notANumber, "0:00"}};
  for (const auto& [seconds, text] : cases) EXPECT_EQ(formatPlaybackTime(seconds), text);
}

TEST_F(TimelineEventRules, ZoomsAreAddedWhereNoOtherIs) {
  constexpr auto zoom = TimelineRegionKind::zoom;
  const std::string overlap = "status Cannot place zoom on top of another zoom.";
  const auto zooms = [](const std::string& added, const std::string& selected) {
    return "zooms 31:1-2auto 32:5-6 33:8-9auto/file " + added + "|selection zoom " + selected;
  };
  const auto added = [&](const std::string& span, const std::string& time) {
    return zooms("new:" + span, "new") + "|status Added zoom at " + time + ".";
  };
  const auto at = [](double start, double end, std::optional<std::string> source = {}) {
    return AddZoomRegion{{.id = numbered(39), .span = {start, end}, .source = source}};
  };
  expect(before, {
                     {Add{zoom, 6, duration}, added("6-7", "0:06")},
                     {Add{zoom, -3, duration}, added("0-1", "0:00")},
                     {Add{zoom, 19.5, duration}, added("19.5-20", "0:19")},
                     {Add{zoom, 99, duration}, added("19.9-20", "0:19")},
                     {Add{zoom, 0, 0.6}, added("0-0.6", "0:00")},
                     {Add{zoom, 0.5, 0.6}, added("0.5-0.6", "0:00")},
                     {Add{zoom, 4.001, duration}, overlap},
                     {Add{zoom, 8, duration}, overlap},
                     {Add{zoom, 1, notANumber}, "status Open a video before adding timeline edits."},
                     {at(1.5, 5), overlap},
                     {at(0, 9, "file"), overlap},
                     {at(2, 5), zooms("39:2-5", "39")},
                     {at(1, 8, "other"), zooms("39:1-8/other", "39")},
                 });
  expect(selecting({Item::clip(numbered(1))}),
         {{Add{TimelineRegionKind::trim, 1, duration},
           "status Use clip splitting instead of trim sections.|selection "},
          {Add{TimelineRegionKind::annotation, 1, duration},
           "status Annotations are currently unavailable.|selection "},
          {Add{zoom, 5.5, duration}, overlap}});
  const auto state = after(before, Add{zoom, 6, duration});
  EXPECT_EQ(state.snapshot.zoomRegions.back(),
            (TimelineZoomRegion{.id = *state.selectedID, .span = {6, 7}, .depth = 1.75}));
}

TEST_F(TimelineEventRules, ZoomsChangeOneByOne) {
  constexpr auto kind = TimelineRegionKind::zoom;
  const auto id = numbered(32), none = numbered(9);
  const auto span = [](const std::string& text) {
    return "zooms 31:1-2auto 32:" + text + " 33:8-9auto/file";
  };
  const auto styled = [&](TimelineZoomAnimationPreset preset, const std::string& name) -> Case {
    return {UpdateZoomAnimationPreset{none, preset}, "status Set zoom style to " + name + "."};
  };
  using Preset = TimelineZoomAnimationPreset;
  expect(before, {{UpdateSpan{kind, id, {1, 1.05}, duration}, span("1-1.1")},
                  {UpdateSpan{kind, id, {-5, 99}, duration}, span("0-20")},
                  {UpdateSpan{kind, id, {4, 5}, 0}, ""},
                  {UpdateSpan{kind, none, {4, 5}, duration}, ""},
                  {UpdateSpan{TimelineRegionKind::trim, id, {4, 5}, duration}, ""},
                  {UpdateZoomSpan{id, 1, 1.05, duration}, span("1-1.3")},
                  {UpdateZoomSpan{id, 4, 5, notANumber}, ""},
                  styled(Preset::balanced, "Balanced"),
                  styled(Preset::subtle, "Subtle"),
                  styled(Preset::snappy, "Snappy"),
                  styled(Preset::cinematic, "Cinematic"),
                  styled(Preset::guided, "Guided")});

  auto state = before;
  for (const TimelineEditEvent& event : std::vector<TimelineEditEvent>{
           UpdateZoomDepth{id, 9}, UpdateZoomFocus{id, {}, 7}, UpdateZoomSoftness{id, -1},
           UpdateZoomEasing{id, TimelineZoomEasing::easeOut}, UpdateZoomFollowsCursor{id, false},
           UpdateZoomAnimationPreset{id, Preset::subtle}, UpdateZoomFocus{numbered(31), 0.1, {}}})
    state.applying(event);
  constexpr auto manual = TimelineZoomMode::manual;
  const std::vector<TimelineZoomRegion> expected = {
      {numbered(31), {1, 2}, 1.75, 0.1, 0.5, manual},  // the user's own now, and of no click
      {id, {5, 6}, 5, 0.5, 1, manual, Preset::subtle, {}, 0, TimelineZoomEasing::easeOut, false},
      before.snapshot.zoomRegions[2]};
  EXPECT_EQ(*state.snapshot.zoomRegions, expected);
  EXPECT_EQ(after(state, UpdateZoomSoftness{id, {}}).snapshot.zoomRegions[1].softness, std::nullopt);

  const std::pair<double, double> steps[] = {{1, 1.25}, {1.6, 1.75}, {1.625, 1.75},
                                             {2, 1},    {3, 1},      {0, 1.25}};
  for (const auto& [depth, next] : steps) {
    state.snapshot.zoomRegions.mutate()[1].depth = depth;
    EXPECT_EQ(after(state, DeepenZoom{id}).snapshot.zoomRegions[1].depth, next) << depth;
  }
  state = after(before, UpdateAnnotationText{numbered(51), "There"});
  state.applying(UpdateSpan{TimelineRegionKind::annotation, numbered(51), {3, 4}, duration});
  EXPECT_EQ(state.snapshot.annotationRegions[0],
            (TimelineAnnotationRegion{numbered(51), {3, 4}, "There", 0.5, 0.5, 20}));
}

TEST_F(TimelineEventRules, GenerationReplacesOnlyWhatItOwns) {
  const std::vector<TimelineZoomRegion> one = {{.id = numbered(36), .span = {5, 7}}};
  const std::vector<TimelineZoomRegion> two = {one[0], {.id = numbered(37), .span = {9, 10}}};
  auto start = selecting({Item::zoom(numbered(32))});
  start.snapshot.hiddenAutoZooms = {{.id = numbered(38), .span = {0, 1}},
                                    {.id = numbered(39), .span = {0, 1}, .source = "file"}};
  const std::string kept = "zooms 32:5-6 33:8-9auto/file", hidden = "|selection |hidden 39:0-1/file";
  expect(start,
         {{ReplaceAutoZooms{one}, kept + " 36:5-7auto" + hidden + "|status Generated 1 automatic zoom."},
          {ReplaceAutoZooms{two},
           kept + " 36:5-7auto 37:9-10auto" + hidden + "|status Generated 2 automatic zooms."},
          {ReplaceAutoZooms{}, kept + hidden + "|status No clicks found. Add a manual zoom with Z."},
          {RegenerateAutoZoomsRequested{}, "status Open a recording before generating automatic zooms."}});
  start.snapshot.autoZoomsOff = true;
  expect(start, {{ReplaceAutoZooms{one}, kept + hidden + " 36:5-7auto|status Generated 1 automatic zoom."}});

  auto state = before;
  EXPECT_EQ(state.applying(RegenerateAutoZoomsRequested{"a.mp4", 3, TimelineZoomAnimationPreset::guided}),
            (TimelineEditEffects{GenerateAutoZooms{"a.mp4", 3, TimelineZoomAnimationPreset::guided}}));
  EXPECT_EQ(state, before);
}

TEST_F(TimelineEventRules, AutomaticZoomsHideAndComeBackInOrder) {
  auto state = after(selecting({Item::zoom(numbered(31))}), SetAutoZoomsOff{true});
  EXPECT_EQ(*state.snapshot.zoomRegions, std::vector{before.snapshot.zoomRegions[1]});
  EXPECT_EQ(state.selectedID, std::nullopt);
  EXPECT_EQ(after(state, SetAutoZoomsOff{true}), state);
  state = after(after(state, Select{TimelineRegionKind::zoom, numbered(32)}), SetAutoZoomsOff{false});
  EXPECT_TRUE(state.snapshot == before.snapshot);
  EXPECT_EQ(state.selectedID, numbered(32));
}

TEST_F(TimelineEventRules, CameraClipsDivideAndMerge) {
  const FacecamSettings big = {.size = 99};
  constexpr auto previous = TimelineCameraMergeDirection::previous, next = TimelineCameraMergeDirection::next;
  const std::string outside = "status Move the playhead inside the camera clip before splitting.";
  const std::string noCamera = "status Record with camera before splitting camera settings.";
  const std::string merged = "|selection camera 42|status Merged camera clips.";
  expect(after(before, SelectClip{numbered(1)}),
         {
             {EnsureCameraClips{duration, big}, ""},
             {SplitCameraClip{7, duration, {}},
              "camera 41:0-5 42:5-7 new:7-12 43:15-20|selection |status Split camera at 0:07."},
             {SplitCameraClip{5.03, duration, {}}, "status There is already a camera split at 0:05."},
             {SplitCameraClip{13, duration, {}}, "status There is already a camera split at 0:13."},
             {SplitCameraClip{0.05, duration, {}}, outside},
             {SplitCameraClip{99, duration, {}}, outside},
             {SplitCameraClip{notANumber, duration, {}}, outside},
             {SplitCameraClip{7, 0, big}, noCamera},
             {UpdateCameraClipSettings{numbered(42), big},
              "camera 41:0-5 42:5-12o40 43:15-20|status Updated camera settings."},
             {UpdateCameraClipSettings{numbered(9), big}, ""},
             {MergeCameraClip{numbered(42), previous}, "camera 42:0-12 43:15-20" + merged},
             {MergeCameraClip{numbered(42), next}, "camera 41:0-5 42:5-20" + merged},
             {MergeCameraClip{numbered(41), previous}, ""},
             {MergeCameraClip{numbered(43), next}, ""},
             {MergeCameraClip{numbered(9), next}, ""},
             {DeleteCameraClip{numbered(42), duration, big},
              "camera 41:0-5 43:15-20|status Deleted camera clip."},
             {DeleteCameraClip{numbered(9), duration, {}},
              "status Selected camera clip is no longer available."},
             {DeleteCameraClip{numbered(42), 0, {}}, "status Open a video before deleting a camera clip."},
         });
  auto none = before;
  none.snapshot.cameraClips = {};
  expect(none,
         {{EnsureCameraClips{duration, big}, "camera new:0-20o40"},
          {EnsureCameraClips{0, big}, ""},
          {EnsureCameraClips{duration, {}}, ""},
          {SplitCameraClip{0.026, 0.1, big},
           "camera new:0-0.026o40 new:0.026-0.1o40|status Split camera at 0:00."},
          {SplitCameraClip{0.025, 0.1, big}, outside},
          {SplitCameraClip{7, duration, {}}, noCamera},
          {DeleteCameraClip{numbered(41), duration, big}, "status Cannot delete the only camera clip."}});
}

}  // namespace
}  // namespace quillant
