#include "Tests/Editor/Timeline/TimelineEventFixture.h"

namespace quillant {
namespace {

using namespace TimelineEvents;

const std::string noVideo = "status Open a video before editing clips.";

TEST_F(TimelineEventRules, ClipsAreCutAndTheVoiceFollows) {
  const std::string shortest = "status That clip can't be trimmed further.";
  expect(before, {
                     {SplitClip{5, duration}, "clips 1:0-4 2:6-8x2 new:8-10x2 3:10-20"},
                     {SplitClip{4.02, duration}, "status Move the playhead inside a clip before splitting."},
                     {SplitClip{5, notANumber}, noVideo},
                     {DeleteClip{numbered(2), duration}, "clips 1:0-4 3:10-20|voice 11:0-1@3 12:10-12@6"},
                     {DeleteClip{numbered(9), duration}, ""},
                     {DeleteClip{numbered(2), 0}, ""},
                     {DeleteOutputRange{4, -9, duration}, "clips 2:6-10x2 3:10-20|voice 11:1-2@0 12:10-12@4"},
                     {DeleteOutputRange{3.5, 4.5, duration},
                      "clips 1:0-3.5 2:7-10x2 3:10-20|voice 11:0-0.5@3 new:1.5-2@3.5 12:10-12@7"},
                     {DeleteOutputRange{16, 0, duration}, "status Nothing would be left to play."},
                     {DeleteOutputRange{3, 4, 0}, noVideo},
                     {TrimClip{numbered(2), leading, 4.5, duration},
                      "clips 1:0-4 2:7-10x2 3:10-20|voice 11:0-1@3 new:1.5-2@4 12:10-12@7.5"},
                     {TrimClip{numbered(1), trailing, 2, duration},
                      "clips 1:0-2 2:6-10x2 3:10-20|voice 11:1-2@2 12:10-12@6"},
                     {TrimClip{numbered(1), trailing, 9, duration}, shortest},
                     {TrimClip{numbered(9), leading, 1, duration}, ""},
                     {TrimClip{numbered(1), leading, 1, -1}, noVideo},
                 });
}

TEST_F(TimelineEventRules, ClipsChangeWithoutTheVoice) {
  using Layout = TimelineCameraLayout;
  const SetClipSounds sounds = {{{numbered(1), {.micVolume = 7}}, {numbered(2), {.micVolume = -1}}},
                                duration};
  const SetClipSounds sameSounds = {{{numbered(1), {}}, {numbered(9), {.micMuted = true}}}, duration};
  const TimelineSource source = {.id = "file", .fileExtension = "mp4", .displayName = "Intro"};
  AddClip added = {{numbered(4), 0, 2, 1, "file"}, source, {}, duration, 1};
  added.zooms = {{.id = numbered(34), .span = {0, 1}, .mode = TimelineZoomMode::auto_, .source = "file"},
                 {.id = numbered(35), .span = {1, 2}, .source = "file"}};
  AddClip nowhere = added;
  nowhere.duration = notANumber;
  auto start = before;
  start.snapshot.sources = {source};
  start.snapshot.autoZoomsOff = true;
  expect(start, {
                    {SetClipSpeed{numbered(3), 1.9, duration}, "clips 1:0-4 2:6-10x2 3:10-20x2"},
                    {SetClipSpeed{numbered(2), 5, duration}, ""},
                    {SetClipSpeed{numbered(3), 2, 0}, noVideo},
                    {MoveClip{numbered(1), 99, duration}, "clips 2:6-10x2 3:10-20 1:0-4"},
                    {MoveClip{numbered(1), -3, duration}, ""},
                    {MoveClip{numbered(1), 2, 0}, noVideo},
                    {sounds, "clips 1:0-4 2:6-10x2~0 3:10-20"},
                    {sameSounds, ""},
                    {SetClipCameraLayout{numbered(1), Layout::hidden, duration},
                     "clips 1:0-4-hidden 2:6-10x2 3:10-20"},
                    {SetClipCameraLayout{numbered(1), Layout::bubble, duration}, ""},
                    {SetClipCameraLayout{numbered(9), Layout::hidden, duration}, ""},
                    {added,
                     "clips 1:0-4 4:0-2/file 2:6-10x2 3:10-20|zooms 31:1-2auto 32:5-6 33:8-9auto/file "
                     "35:1-2/file|hidden 34:0-1auto/file|selection clip 4|status Added Intro."},
                    {nowhere, ""},
                });
  start = after(before, SetClipCameraLayout{numbered(1), Layout::hidden, duration});
  expect(
      start,
      {{SetClipCameraLayout{numbered(1), Layout::fullScreen, duration}, "clips 1:0-4-full 2:6-10x2 3:10-20"},
       {SetClipCameraLayout{numbered(1), Layout::bubble, duration}, "clips 1:0-4 2:6-10x2 3:10-20"}});
  added.index.reset();
  const auto state = after(before, added);
  EXPECT_EQ(state.snapshot.clipList->back(), added.clip);
  EXPECT_EQ(*state.snapshot.sources, std::vector{source});
  EXPECT_EQ(state.snapshot.zoomRegions.size(), 5u) << "all are shown where automatic ones are";
}

TEST_F(TimelineEventRules, TheSelectionOfClipsThatAreGoneGoesToo) {
  const auto all = selecting({Item::clip(numbered(2)), Item::clip(numbered(1)), Item::zoom(numbered(31))});
  EXPECT_EQ(after(all, DeleteOutputRange{0, 6, duration}).selectedItems(),
            std::vector{Item::zoom(numbered(31))});
  auto one = selecting({Item::clip(numbered(1)), Item::zoom(numbered(31))});
  one.snapshot.setClips({{numbered(1), 0, 4}}, duration);
  expect(one, {{DeleteClip{numbered(1), duration},
                "status Cannot delete the only playable clip.|selection zoom 31"}});
}

TEST_F(TimelineEventRules, SeveralThingsAreSelectedOneAfterAnother) {
  expect(before, {{SelectCameraClip{numbered(41)}, "selection camera 41"},
                  {Select{TimelineRegionKind::annotation, numbered(51)}, "selection annotation 51"},
                  {ToggleSelected{Item::zoom(numbered(31))}, "selection zoom 31"}});
  expect(selecting({Item::clip(numbered(1)), Item::audio(numbered(11)), Item::zoom(numbered(99))}),
         {{Select{}, "selection "},
          {Select{TimelineRegionKind::zoom, {}}, "selection "},
          {SelectAudioClip{numbered(21)}, "selection audio 21"},
          {ToggleSelected{Item::clip(numbered(1))}, "selection audio 11"},
          {ToggleSelected{Item::zoom(numbered(31))}, "selection clip 1, audio 11, zoom 31"}});
}

TEST_F(TimelineEventRules, WhatIsSelectedUnderThePlayheadIsSplitAsOne) {
  const std::string nothing = "status Select a clip under the playhead to split it.";
  expect(selecting({Item::clip(numbered(1)), Item::audio(numbered(11)), Item::zoom(numbered(31))}),
         {
             {SplitSelected{3.5, duration},
              "clips 1:0-3.5 new:3.5-4 2:6-10x2 3:10-20|voice 11:0-0.5@3 new:0.5-2@3.5 12:10-12@8|"
              "selection clip new, audio new|status Split at 0:03."},
             {SplitSelected{4.5, duration},
              "voice 11:0-1.5@3 new:1.5-2@4.5 12:10-12@8|selection audio new|status Split at 0:04."},
             {SplitSelected{9, duration}, nothing},
             {SplitSelected{0.01, duration}, nothing},
             {SplitSelected{2, 0}, nothing},
         });
  expect(selecting({Item::audio(numbered(22))}),
         {{SplitSelected{4, duration},
           "music 21:0-3@0 22:0-1@3 new:1-3@4|selection audio new|status Split at 0:04."}});
  expect(before, {{SplitSelected{3.5, duration}, nothing}});
}

TEST_F(TimelineEventRules, TheSelectionIsDeletedAndTheStatusCountsIt) {
  const std::string zoomGone = "zooms 32:5-6 33:8-9auto/file|", soundGone = "music 22:0-3@3|";
  const auto clip = [](std::uint8_t number) { return Item::clip(numbered(number)); };
  const auto zoom = Item::zoom(numbered(31)), sound = Item::audio(numbered(21));
  const auto expectDeleted = [&](const std::vector<Item>& items, std::optional<double> length,
                                 const std::string& changes, const std::string& status) {
    expect(selecting(items), {{DeleteSelection{length}, changes + "selection |status " + status}});
  };
  expectDeleted({clip(1), clip(3), zoom, sound}, duration,
                zoomGone + soundGone + "clips 2:6-10x2|voice 11:1-2@0|", "Deleted 4 items.");
  expectDeleted({clip(2), zoom, sound}, {}, zoomGone + soundGone, "Deleted 2 items.");
  expectDeleted({clip(2), zoom}, 0, zoomGone, "Deleted zoom.");
  expectDeleted({clip(9), sound}, duration, soundGone, "Deleted audio clip.");
  expectDeleted({clip(2)}, duration, "clips 1:0-4 3:10-20|voice 11:0-1@3 12:10-12@6|", "Deleted clip.");
  expectDeleted({clip(1), clip(2), clip(3), zoom}, duration, zoomGone,
                "Cannot delete the only playable clip.");
  expect(before, {{DeleteSelection{duration}, ""}});
  expect(after(before, SelectCameraClip{numbered(42)}),
         {{DeleteSelection{duration}, "camera 41:0-5 43:15-20|selection |status Deleted camera clip."},
          {DeleteSelection{}, "status Open a video before deleting a camera clip."}});

  const auto annotation = after(before, Select{TimelineRegionKind::annotation, numbered(51)});
  const auto deleted = after(annotation, DeleteSelection{});
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
