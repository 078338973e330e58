#include <algorithm>
#include <gtest/gtest.h>

#include "CaptureEngine/Telemetry/CursorTelemetryCodec.h"
#include "Core/AtomicFile.h"
#include "Core/JSON.h"
#include "Editor/Timeline/TimelineClipList.h"
#include "Editor/Timeline/TimelineEditDriver.h"
#include "Tests/Support/GeneratedEvents.h"

namespace quillant {
namespace {

using namespace TimelineEvents;
constexpr double duration = 60;
constexpr auto recorded = RecordsUndo::yes;

std::optional<std::string> noTelemetry(const std::filesystem::path&) {
  return std::nullopt;
}

TEST(TimelineEditDriver, RecordsOnlyWhatChangesTheSnapshot) {
  TimelineEditDriver driver(noTelemetry);
  int changes = 0;
  const auto connection = driver.changed.connect([&](const auto& was, const auto& is) {
    ++changes;
    EXPECT_NE(was, is);
    EXPECT_EQ(is.state, driver.state());
  });
  driver.undo();
  driver.redo();
  EXPECT_EQ(changes, 0);
  EXPECT_EQ(driver.state(), TimelineEditState()) << "nothing to undo leaves the status, too";

  driver.send(SplitClip{0, duration}, recorded);
  EXPECT_EQ(driver.state().statusMessage, "Move the playhead inside a clip before splitting.");
  driver.selectClip(UUID());
  driver.send(ClearSelection{}, recorded);
  driver.setTranscript({.source = "recording"});
  driver.send(SplitClip{5, duration}, RecordsUndo::no);
  EXPECT_FALSE(driver.history().canUndo());
  EXPECT_EQ(driver.historyRevision(), 0);
  EXPECT_EQ(changes, 5);
  driver.clearSelection();
  EXPECT_EQ(changes, 5) << "nothing was selected";

  const auto clip = driver.state().snapshot.clipList->front().id;
  driver.selectClip(clip);
  driver.send(SplitClip{15, duration}, recorded);
  const auto split = driver.state().snapshot;
  driver.clearSelection();
  driver.undo();
  EXPECT_EQ(driver.state().selectedClipID, clip) << "the selection comes back too";
  EXPECT_EQ(driver.state().statusMessage, "Undid timeline edit.");
  driver.redo();
  EXPECT_EQ(driver.state().statusMessage, "Redid timeline edit.");
  EXPECT_EQ(driver.historyRevision(), 3);
  driver.undo();
  driver.send(SplitClip{25, duration}, recorded);
  EXPECT_FALSE(driver.history().canRedo()) << "an edit forgets what was undone";

  driver.applySnapshot(split);
  EXPECT_FALSE(driver.history().canUndo()) << "no undo across a load";
  EXPECT_EQ(driver.historyRevision(), 6);
  EXPECT_EQ(driver.state(), TimelineEditState{.snapshot = split});
}

TEST(TimelineEditDriver, TellsEveryHandlerInOrderThoughOneEditsAndOneDestroysIt) {
  auto driver = std::make_unique<TimelineEditDriver>(noTelemetry);
  std::vector<std::pair<std::int64_t, std::int64_t>> told;
  const auto editing = driver->changed.connect([&](const auto&, const auto& is) {
    if (is.historyRevision == 1) driver->undo();
  });
  const auto destroying = driver->changed.connect([&](const auto& was, const auto& is) {
    told.emplace_back(was.historyRevision, is.historyRevision);
    if (is.historyRevision == 2) driver.reset();
  });
  driver->send(SplitClip{5, duration}, recorded);
  EXPECT_EQ(told, (std::vector<std::pair<std::int64_t, std::int64_t>>{{0, 1}, {1, 2}}));
}

TEST(EditorHistory, RecordsNothingWithinATransaction) {
  EditorHistory<int> history;
  history.recordChange(1);
  history.transactionStart = 1;
  history.recordChange(2);
  EXPECT_EQ(history.undo(3), 1);
  EXPECT_EQ(history.transactionStart, std::nullopt);
  EXPECT_EQ(history.redo(1), 3);
}

TEST(TimelineEditDriver, TriesEventsWithoutCarryingThemOut) {
  TimelineEditDriver driver(noTelemetry);
  const auto only = TimelineClipList::fromLegacy({}, {}, {}, duration).front().id;
  EXPECT_FALSE(driver.canDeleteClip(only, duration));
  driver.send(DeleteOutputRange{10, 20, duration}, recorded);
  driver.selectClip(only);
  const auto state = driver.state();
  EXPECT_TRUE(driver.canDeleteClip(only, duration));
  EXPECT_FALSE(driver.canDeleteClip(UUID(), duration));
  EXPECT_TRUE(driver.canSplitSelected(5, duration));
  EXPECT_FALSE(driver.canSplitSelected(15, duration));
  EXPECT_EQ(driver.restoreRefusal(RestoreVideoGap{{}, 10, 20, duration, duration}), std::nullopt);
  EXPECT_EQ(driver.restoreRefusal(RestoreVideoGap{{}, 30, 40, duration, duration}),
            "Those words already play.");
  EXPECT_EQ(driver.state(), state);
}

TEST(TimelineEditDriver, GeneratesZoomsInOneStepFromTheTelemetryBesideTheVideo) {
  const CursorTelemetryPayload payload = {
      .width = 100, .height = 100, .clicks = {{.x = 40, .y = 40, .timestamp = 8000, .clickCount = 2}}};
  std::optional<std::string> text;
  bool fails = false;
  TimelineEditDriver driver([&](const std::filesystem::path& path) {
    EXPECT_EQ(path, "/videos/take 1.cursor.json");
    if (fails) throw FileError("read", path, std::make_error_code(std::errc::io_error));
    return text;
  });
  const RegenerateAutoZoomsRequested request = {"/videos/take 1.mp4", duration};
  const std::string unreadable =
      "This recording's pointer track couldn't be read, so auto-zoom can't find moments. Add zooms by hand.";
  const auto expectAnswer = [&](std::optional<AutoZoomTelemetryProblem> problem, const std::string& status,
                                std::size_t zooms) {
    driver.send(request, recorded);
    EXPECT_EQ(driver.autoZoomTelemetryProblem(), problem);
    EXPECT_EQ(driver.state().statusMessage, status);
    EXPECT_EQ(driver.state().snapshot.zoomRegions.size(), zooms);
  };
  expectAnswer(AutoZoomTelemetryProblem::missing,
               "This recording has no pointer track, so auto-zoom can't find moments. Add zooms by hand.", 0);
  text = CursorTelemetryCodec::encode(payload);
  expectAnswer(std::nullopt, "Generated 1 automatic zoom.", 1);
  text = "{";
  expectAnswer(AutoZoomTelemetryProblem::unreadable, unreadable, 1);
  fails = true;
  expectAnswer(AutoZoomTelemetryProblem::unreadable, unreadable, 1);
  driver.undo();
  EXPECT_TRUE(driver.state().snapshot.zoomRegions.empty());
  EXPECT_FALSE(driver.history().canUndo()) << "one step";
}

double shortestOutput(const TimelineEditState& state) {
  const auto clips = state.snapshot.effectiveClips(duration);
  return std::ranges::min_element(clips, {}, &TimelineClip::outputLength)->outputLength();
}

void expectInvariants(const TimelineEditState& state, const TimelineEditState& before,
                      const TimelineEditEvent& event) {
  const auto& edit = state.snapshot;
  for (const auto& row : {edit.audioClips, edit.musicClips}) {
    double free = 0;
    for (const auto& clip : row) {
      EXPECT_GE(clip.start, free - 1e-6);
      EXPECT_GT(clip.outputLength(), 0.0005);
      free = clip.end();
    }
  }
  for (const auto& zoom : edit.zoomRegions)
    EXPECT_TRUE(0 <= zoom.span.start && zoom.span.start < zoom.span.end && zoom.span.end <= duration);
  const auto clips = edit.effectiveClips(duration);
  ASSERT_FALSE(clips.empty());
  for (const auto& item : state.selectedItems())
    EXPECT_TRUE(item.kind != TimelineSelectedItem::Kind::clip ||
                std::ranges::count(clips, item.id, &TimelineClip::id) == 1);
  // A cut may leave a millisecond, and a faster clip is a shorter one. Nothing else makes clips short.
  const bool mayShorten = std::holds_alternative<DeleteOutputRange>(event.rule) ||
                          std::holds_alternative<SetClipSpeed>(event.rule);
  EXPECT_GT(shortestOutput(state), mayShorten ? 0.0004 : std::min(0.05, shortestOutput(before)) - 1e-6);
}

TEST(TimelineEditDriver, AnySequenceOfEventsKeepsTheEditWholeAndGoesBackAndForth) {
  for (std::uint64_t seed = 0; seed < 40; ++seed) {
    GeneratedEvents events(seed + 1000, duration);
    TimelineEditDriver driver(noTelemetry);
    driver.applySnapshot(GeneratedEdits(seed).snapshot(duration, {}));
    std::vector<TimelineEditSnapshot> passed = {driver.state().snapshot};
    for (int i = 0; i < 150; ++i) {
      const auto before = driver.state();
      const auto event = events.next(before);
      driver.send(event, recorded);
      expectInvariants(driver.state(), before, event);
      ASSERT_FALSE(HasFailure()) << "seed " << seed << ", event " << i << " of kind " << event.rule.index();
      if (driver.state().snapshot != passed.back()) passed.push_back(driver.state().snapshot);
    }
    EXPECT_GT(passed.size(), 40u) << seed;
    EXPECT_EQ(driver.history().undoStack.size() + 1, passed.size());
    for (auto snapshot = passed.rbegin(); snapshot != passed.rend(); ++snapshot) {
      ASSERT_TRUE(driver.state().snapshot == *snapshot) << seed;
      driver.undo();
    }
    EXPECT_FALSE(driver.history().canUndo());
    for (const auto& snapshot : passed) {
      ASSERT_TRUE(driver.state().snapshot == snapshot) << seed;
      driver.redo();
    }
  }
}

}  // namespace
}  // namespace quillant
