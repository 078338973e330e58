#include <gmock/gmock.h>

#include "Core/SystemWords.h"
#include "quillant/Models/PopoverViewState.h"
#include "quillant/Models/RecorderTexts.h"
#include "quillant/Models/SourceEnumerator.h"

namespace quillant {
namespace {

using Phase = RecordingCoordinator::Phase;
using Action = StartRefusal::Action;
using testing::ElementsAre;

/// Everything that refuses a start at once; each row of the table takes away the one above it.
PopoverInputs nothingRight() {
  PopoverInputs inputs;
  inputs.phase = Phase::stopping;
  inputs.freeBytes = 1'900'000'000;
  inputs.mode = SourceMode::window;
  return inputs;
}

TEST(StartRefusal, TellsTheFirstReasonOfAll) {
  auto inputs = nothingRight();
  const auto refusal = [&] { return StartRefusal::of(inputs.startConditions()); };
  EXPECT_EQ(refusal(), (StartRefusal{"The last recording is still being saved",
                                     "Wait a moment for it to finish, then start again.", Action::none,
                                     "phase=stopping"}));
  for (const auto& [phase, name] : {std::pair(Phase::recording, "recording"), {Phase::paused, "paused"}}) {
    inputs.phase = phase;
    EXPECT_EQ(refusal(), (StartRefusal{"A recording is already running",
                                       "Stop the current recording before starting a new one.", Action::none,
                                       std::string("phase=") + name}));
  }
  inputs.phase = Phase::idle;
  EXPECT_EQ(refusal(),
            (StartRefusal{"Quillant needs Screen Recording permission",
                          "Turn on Quillant in " + SystemWords::whereToAllow("Screen Recording", " › ") +
                              ", then quit and reopen Quillant.",
                          Action::openScreenSettings, "screen-permission"}));
  inputs.permissions.screenRecording = PermissionState::granted;
  EXPECT_EQ(refusal(), (StartRefusal{"Not enough disk space to record",
                                     "Only 1.9 GB is free. Quillant needs at least 2 GB free so a recording "
                                     "never stops partway. Free up some space, then try again.",
                                     Action::manageStorage, "disk-floor free=1.9 GB"}));
  inputs.freeBytes = 2'000'000'000;
  EXPECT_EQ(refusal(), (StartRefusal{"Choose a window first",
                                     "Window recording is selected but no window is chosen. Pick one in the "
                                     "Quillant menu-bar panel, or switch to Display.",
                                     Action::none, "no-window"}));
  inputs.selectedWindowID = 7;
  EXPECT_EQ(refusal(), (StartRefusal{"No screen to record",
                                     "Quillant couldn't find a display to record. Check that a display is "
                                     "connected, then try again.",
                                     Action::none, "no-display"}));
  inputs.sourceProblem = "there is no display server";
  EXPECT_EQ(refusal()->message, "there is no display server");
  inputs.displays = {{.id = 1}};
  EXPECT_EQ(refusal(), std::nullopt);
  inputs.selectedWindowID.reset();
  EXPECT_EQ(refusal()->logReason, "no-window");  // a display beside it does not help
}

TEST(PopoverViewState, SaysOnTheButtonWhatAPressDoes) {
  auto inputs = nothingRight();
  const auto button = [&] { return recompute(inputs).record; };
  for (const auto phase : {Phase::recording, Phase::paused}) {
    inputs.phase = phase;
    EXPECT_EQ(button(), (RecordButton{"Stop Recording", true, true}));
  }
  inputs.phase = Phase::stopping;
  EXPECT_EQ(button(), (RecordButton{"Grant access to record", false, false}));
  EXPECT_TRUE(recompute(inputs).showPermissions);
  inputs.permissions.screenRecording = PermissionState::grantedAfterRestart;
  EXPECT_TRUE(recompute(inputs).showRestartCard);
  inputs.permissions.screenRecording = PermissionState::granted;
  EXPECT_EQ(button(), (RecordButton{"Waiting for disk space", false, false}));
  inputs.freeBytes = 10'000'000'000;
  EXPECT_EQ(button(), (RecordButton{"Start Recording", false, false}));
  inputs.phase = Phase::idle;
  for (const auto mode : {SourceMode::display, SourceMode::window, SourceMode::area}) {
    inputs.mode = mode;
    const bool isArea = mode == SourceMode::area;  // its display comes from the selection
    EXPECT_EQ(button(), (RecordButton{isArea ? "Select Area…" : "Start Recording", isArea, false}));
    EXPECT_EQ(inputs.canSelectArea(), isArea);
    EXPECT_FALSE(inputs.canRecord());
  }
  inputs.mode = SourceMode::display;
  inputs.displays = {{.id = 1}};
  EXPECT_TRUE(button().enabled);
  EXPECT_FALSE(inputs.canSelectArea());
}

TEST(PopoverViewState, WarnsOfTheDiskBelowFiveGigabytesAndBlocksBelowTwo) {
  PopoverInputs inputs;
  const auto banner = [&](std::int64_t bytes) {
    inputs.freeBytes = bytes;
    return recompute(inputs).banner;
  };
  EXPECT_EQ(banner(1'999'999'999).heading(), "Low disk space");
  EXPECT_EQ(
      banner(1'900'000'000).text(),
      "Quillant keeps 2 GB free so a recording never dies mid-session. You have 1.9 GB. Free some space "
      "and try again.");
  for (const std::int64_t bytes : {2'000'000'000L, 4'999'999'999L}) EXPECT_EQ(banner(bytes).heading(), "");
  EXPECT_EQ(banner(4'900'000'000).text(),
            "4.9 GB left — a long recording could stop early. You can still record.");
  EXPECT_EQ(banner(5'000'000'000), PopoverViewState::Banner());
  inputs.update = UpdateProgress{"1.2", 0.5};
  EXPECT_EQ(banner(0).text(), "Updating to Quillant 1.2 — 50 %");
}

TEST(PopoverViewState, NamesWhatThereIsToChoose) {
  PopoverInputs inputs;
  inputs.popoverOpen = inputs.cameraOn = true;
  const auto picture = std::make_shared<PixelBuffer>();
  inputs.displays = {{.id = 3, .isMain = true, .name = "HDMI-1"}, {.id = 4}};
  inputs.thumbnails = {{3, picture}};
  inputs.selectedDisplayID = 4;
  inputs.windows = {{.id = 9, .title = " \n", .appName = "Editor"}};
  inputs.selectedWindowID = 9;
  inputs.mics = {{"a", "Built-in"}, {"b", "Headset"}};
  inputs.cameras = {{"c", "Webcam"}};
  auto state = recompute(inputs);
  EXPECT_THAT(state.displays, ElementsAre(DisplayTile{3, "HDMI-1", true, false, picture, true},
                                          DisplayTile{4, "Display 2", false, true, nullptr, false}));
  EXPECT_THAT(state.windows, ElementsAre(WindowRow{9, "Untitled", "Editor", true}));
  EXPECT_EQ(state.micDeviceName, "Built-in");
  EXPECT_EQ(state.cameraDeviceName, "Webcam");
  EXPECT_TRUE(state.cameraPreviewActive && state.micNeedsPermission);
  inputs.selectedMicID = "b";
  EXPECT_EQ(recompute(inputs).micDeviceName, "Headset");
  inputs.selectedMicID = "gone";
  inputs.popoverOpen = false;
  EXPECT_EQ(recompute(inputs).micDeviceName, "Built-in");
  EXPECT_FALSE(recompute(inputs).cameraPreviewActive);
}

TEST(SourceEnumerator, ListsTheWindowsThatAUserWouldRecord) {
  const WindowInfo window{.title = "Letter", .frame = {0, 0, 80, 80}, .appName = "Editor", .appID = "editor"};
  EXPECT_TRUE(SourceEnumerator::isListed(window));
  const auto without = [&](auto change) {
    auto changed = window;
    change(changed);
    return SourceEnumerator::isListed(changed);
  };
  EXPECT_FALSE(without([](WindowInfo& changed) { changed.appName.clear(); }));
  EXPECT_FALSE(without([](WindowInfo& changed) { changed.isOnScreen = false; }));
  EXPECT_FALSE(without([](WindowInfo& changed) { changed.layer = 1; }));
  EXPECT_FALSE(without([](WindowInfo& changed) { changed.layer = -1; }));
  EXPECT_FALSE(without([](WindowInfo& changed) { changed.title.clear(); }));
  EXPECT_FALSE(without([](WindowInfo& changed) { changed.frame.width = 79; }));
  EXPECT_FALSE(without([](WindowInfo& changed) { changed.frame.height = 79; }));
  for (const auto* id : {"quillant", "plasmashell", "xfce4-panel", "conky"})
    EXPECT_FALSE(without([&](WindowInfo& changed) { changed.appID = id; })) << id;

  std::vector<std::string> names;
  for (const auto& sorted : SourceEnumerator::sorted({{.id = 1, .appName = "zoo"},
                                                      {.id = 2, .appName = "Éditeur"},
                                                      {.id = 3, .appName = "editor"},
                                                      {.id = 4, .appName = "ÉDITEUR"},
                                                      {.id = 5, .appName = "Foo"}}))
    names.push_back(sorted.appName + std::to_string(sorted.id));
  EXPECT_THAT(names, ElementsAre("Éditeur2", "ÉDITEUR4", "editor3", "Foo5", "zoo1"));
}

TEST(RecorderTexts, OffersWhatHelps) {
  const auto titles = [](const Alert& alert) {
    std::vector<std::string> result;
    for (const auto& button : alert.buttons) result.push_back(button.title);
    return result;
  };
  EXPECT_THAT(titles(RecorderTexts::refusal({.action = Action::manageStorage})),
              ElementsAre("Manage Storage", "Cancel"));
  EXPECT_THAT(titles(RecorderTexts::refusal({.action = Action::openScreenSettings})),
              ElementsAre("Open Settings", "Cancel"));
  EXPECT_THAT(titles(RecorderTexts::refusal({})), ElementsAre("OK"));
}

}  // namespace
}  // namespace quillant
