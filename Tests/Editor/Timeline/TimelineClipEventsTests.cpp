#include "Tests/Editor/Timeline/TimelineEventFixture.h"

namespace quillant {
namespace {

using namespace TimelineEvents;
using Item = TimelineSelectedItem;

TEST_F(TimelineEventRules, ClipsAreCutAndTheVoiceFollows) {
  const std::string noVideo = "Open a video before editing clips.";
  expect(
      before,
      {
          {SplitClip{5, duration}, {{"clips", "1:0-4 2:6-8x2 new:8-10x2 3:10-20"}}},
          {SplitClip{4.02, duration}, {{"status", "Move the playhead inside a clip before splitting."}}},
          {SplitClip{5, notANumber}, {{"status", noVideo}}},
          {DeleteClip{numbered(2), duration}, {{"clips", "1:0-4 3:10-20"}, {"voice", "11:0-1@3 12:10-12@6"}}},
          {DeleteClip{numbered(9), duration}, {}},
          {DeleteClip{numbered(2), 0}, {}},
          {DeleteOutputRange{4, -9, duration},
           {{"clips", "2:6-10x2 3:10-20"}, {"voice", "11:1-2@0 12:10-12@4"}}},
          {DeleteOutputRange{3.5, 4.5, duration},
           {{"clips", "1:0-3.5 2:7-10x2 3:10-20"}, {"voice", "11:0-0.5@3 new:1.5-2@3.5 12:10-12@7"}}},
          {DeleteOutputRange{16, 0, duration}, {{"status", "Nothing would be left to play."}}},
          {DeleteOutputRange{3, 4, 0}, {{"status", noVideo}}},
          {TrimClip{numbered(2), leading, 4.5, duration},
           {{"clips", "1:0-4 2:7-10x2 3:10-20"}, {"voice", "11:0-1@3 new:1.5-2@4 12:10-12@7.5"}}},
          {TrimClip{numbered(1), trailing, 2, duration},
           {{"clips", "1:0-2 2:6-10x2 3:10-20"}, {"voice", "11:1-2@2 12:10-12@6"}}},
          {TrimClip{numbered(1), trailing, 9, duration}, {{"status", "That clip can't be trimmed further."}}},
          {TrimClip{numbered(9), leading, 1, duration}, {}},
          {TrimClip{numbered(1), leading, 1, -1}, {{"status", noVideo}}},
      });
  auto one = before;
  one.snapshot.setClips({{numbered(1), 0, 4}}, duration);
  expect(one, {{DeleteClip{numbered(1), duration}, {{"status", "Cannot delete the only playable clip."}}}});
}

TEST_F(TimelineEventRules, ClipsChangeWithoutTheVoice) {
  const TimelineClip added = {numbered(4), 0, 2, 1, "file"};
  const TimelineSource source = {.id = "file", .fileExtension = "mp4", .displayName = "Intro"};
  const std::string noVideo = "Open a video before editing clips.";
  expect(before,
         {
             {SetClipSpeed{numbered(3), 1.9, duration}, {{"clips", "1:0-4 2:6-10x2 3:10-20x2"}}},
             {SetClipSpeed{numbered(2), 5, duration}, {}},
             {SetClipSpeed{numbered(3), 2, 0}, {{"status", noVideo}}},
             {MoveClip{numbered(1), 99, duration}, {{"clips", "2:6-10x2 3:10-20 1:0-4"}}},
             {MoveClip{numbered(1), -3, duration}, {}},
             {MoveClip{numbered(1), 2, 0}, {{"status", noVideo}}},
             {SetClipSounds{{{numbered(1), {.micVolume = 7}}, {numbered(2), {.micVolume = -1}}}, duration},
              {{"clips", "1:0-4 2:6-10x2~0 3:10-20"}}},
             {SetClipSounds{{{numbered(1), {}}, {numbered(9), {.micMuted = true}}}, duration}, {}},
             {SetClipCameraLayout{numbered(1), TimelineCameraLayout::hidden, duration},
              {{"clips", "1:0-4-hidden 2:6-10x2 3:10-20"}}},
             {SetClipCameraLayout{numbered(1), TimelineCameraLayout::fullScreen, duration},
              {{"clips", "1:0-4-full 2:6-10x2 3:10-20"}}},
             {SetClipCameraLayout{numbered(1), TimelineCameraLayout::bubble, duration}, {}},
             {SetClipCameraLayout{numbered(9), TimelineCameraLayout::hidden, duration}, {}},
             {AddClip{added, source, {}, notANumber, {}}, {}},
         });

  const std::vector<TimelineZoomRegion> zooms = {
      {.id = numbered(34), .span = {0, 1}, .mode = TimelineZoomMode::auto_, .source = "file"},
      {.id = numbered(35), .span = {1, 2}, .source = "file"}};
  auto off = before;
  off.snapshot.autoZoomsOff = true;
  auto state = after(off, AddClip{added, source, zooms, duration, 1});
  auto lines = TimelineEditDescription::of(state, duration);
  EXPECT_EQ(lines["clips"], "1:0-4 4:0-2/file 2:6-10x2 3:10-20");
  EXPECT_EQ(lines["hidden"], "34:0-1auto/file") << "automatic zooms are off for what comes in, too";
  EXPECT_TRUE(lines["zooms"].ends_with(" 35:1-2/file"));
  EXPECT_EQ(lines["status"], "Added Intro.");
  EXPECT_EQ(lines["selection"], "clip 4");
  EXPECT_EQ(lines["voice"], TimelineEditDescription::of(before, duration)["voice"]);
  EXPECT_EQ(*state.snapshot.sources, std::vector{source});
  state = after(state, AddClip{{numbered(5), 0, 1}, source, {}, duration, {}});
  EXPECT_EQ(state.snapshot.sources.size(), 1u) << "is there already";
  EXPECT_EQ(state.snapshot.clipList->back().id, numbered(5));
}

TEST_F(TimelineEventRules, TheSelectionOfClipsThatAreGoneGoesToo) {
  const auto state =
      after(selecting({Item::clip(numbered(2)), Item::clip(numbered(1)), Item::zoom(numbered(31))}),
            DeleteOutputRange{0, 6, duration});
  EXPECT_EQ(state.selectedItems(), std::vector{Item::zoom(numbered(31))});
}

TEST_F(TimelineEventRules, SeveralThingsAreSelectedOneAfterAnother) {
  const auto select = [this](std::vector<TimelineSelectedItem> items) { return selecting(items); };
  expect(before, {
                     {SelectClip{numbered(1)}, {{"selection", "clip 1"}}},
                     {SelectAudioClip{numbered(21)}, {{"selection", "audio 21"}}},
                     {SelectCameraClip{numbered(41)}, {{"selection", "camera 41"}}},
                     {Select{TimelineRegionKind::annotation, numbered(51)}, {{"selection", "annotation 51"}}},
                     {ToggleSelected{Item::zoom(numbered(31))}, {{"selection", "zoom 31"}}},
                 });
  expect(select({Item::clip(numbered(1)), Item::audio(numbered(11)), Item::zoom(numbered(99))}),
         {
             {Select{}, {{"selection", ""}}},
             {Select{TimelineRegionKind::zoom, {}}, {{"selection", ""}}},
             {ClearSelection{}, {{"selection", ""}}},
             {ToggleSelected{Item::clip(numbered(1))}, {{"selection", "audio 11"}}},
             {ToggleSelected{Item::zoom(numbered(31))}, {{"selection", "clip 1, audio 11, zoom 31"}}},
         });
}

TEST_F(TimelineEventRules, WhatIsSelectedUnderThePlayheadIsSplitAsOne) {
  const std::string nothing = "Select a clip under the playhead to split it.";
  expect(selecting({Item::clip(numbered(1)), Item::audio(numbered(11)), Item::zoom(numbered(31))}),
         {
             {SplitSelected{3.5, duration},
              {{"clips", "1:0-3.5 new:3.5-4 2:6-10x2 3:10-20"},
               {"voice", "11:0-0.5@3 new:0.5-2@3.5 12:10-12@8"},
               {"selection", "clip new, audio new"},
               {"status", "Split at 0:03."}}},
             {SplitSelected{4.5, duration},
              {{"voice", "11:0-1.5@3 new:1.5-2@4.5 12:10-12@8"},
               {"selection", "audio new"},
               {"status", "Split at 0:04."}}},
             {SplitSelected{9, duration}, {{"status", nothing}}},
             {SplitSelected{0.01, duration}, {{"status", nothing}}},
             {SplitSelected{2, 0}, {{"status", nothing}}},
         });
  expect(selecting({Item::audio(numbered(22))}), {{SplitSelected{4, duration},
                                                   {{"music", "21:0-3@0 22:0-1@3 new:1-3@4"},
                                                    {"selection", "audio new"},
                                                    {"status", "Split at 0:04."}}}});
  expect(before, {{SplitSelected{3.5, duration}, {{"status", nothing}}}});
}

TEST_F(TimelineEventRules, TheSelectionIsDeletedAndTheStatusCountsIt) {
  const auto none = std::pair{"selection", ""};
  const auto zoomsLeft = std::pair{"zooms", "32:5-6 33:8-9auto/file"};
  expect(selecting({Item::clip(numbered(2)), Item::clip(numbered(3)), Item::zoom(numbered(31)),
                    Item::audio(numbered(21))}),
         {
             {DeleteSelection{duration},
              {{"clips", "1:0-4"},
               {"voice", "11:0-1@3"},
               zoomsLeft,
               {"music", "22:0-3@3"},
               none,
               {"status", "Deleted 4 items."}}},
             {DeleteSelection{}, {zoomsLeft, {"music", "22:0-3@3"}, none, {"status", "Deleted 2 items."}}},
         });
  expect(
      selecting({Item::clip(numbered(2))}),
      {{DeleteSelection{duration},
        {{"clips", "1:0-4 3:10-20"}, {"voice", "11:0-1@3 12:10-12@6"}, none, {"status", "Deleted clip."}}}});
  expect(selecting({Item::zoom(numbered(31))}),
         {{DeleteSelection{duration}, {zoomsLeft, none, {"status", "Deleted zoom."}}}});
  expect(selecting({Item::audio(numbered(12))}),
         {{DeleteSelection{}, {{"voice", "11:0-2@3"}, none, {"status", "Deleted audio clip."}}}});
  expect(selecting({Item::clip(numbered(1)), Item::clip(numbered(2)), Item::clip(numbered(3))}),
         {{DeleteSelection{duration}, {none, {"status", "Cannot delete the only playable clip."}}}});
  expect(before, {{DeleteSelection{duration}, {}}});
  expect(
      after(before, SelectCameraClip{numbered(42)}),
      {{DeleteSelection{duration}, {{"camera", "41:0-5 43:15-20"}, none, {"status", "Deleted camera clip."}}},
       {DeleteSelection{}, {{"status", "Open a video before deleting a camera clip."}}}});

  const auto deleted =
      after(after(before, Select{TimelineRegionKind::annotation, numbered(51)}), DeleteSelection{});
  EXPECT_TRUE(deleted.snapshot.annotationRegions.empty());
  EXPECT_EQ(deleted.statusMessage, "Deleted annotation.");
  EXPECT_EQ(deleted.selectedID, std::nullopt);
}

TEST_F(TimelineEventRules, AnEditIsOpenedAndResetAsAWhole) {
  auto state = after(selecting({Item::clip(numbered(1))}), ApplySnapshot{{.autoZoomsOff = true}});
  EXPECT_EQ(state, (TimelineEditState{.snapshot = {.autoZoomsOff = true}}));
  EXPECT_EQ(state.statusMessage,
            "Use shortcuts to edit. Space plays, Z adds a zoom, T splits the clip, S changes its speed.");
  state = after(after(before, SetRowMuted{TimelineMuteRow::voice, true}), SetCaptionsOn{true});
  EXPECT_TRUE(state.snapshot.isMuted(TimelineMuteRow::voice));
  EXPECT_EQ(after(state, Reset{}), (TimelineEditState{.statusMessage = "Timeline edits reset."}));
}

}  // namespace
}  // namespace quillant
