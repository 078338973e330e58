#include <deque>
#include <gtest/gtest.h>
#include <map>

#include "Core/AtomicFile.h"
#include "Core/Error.h"
#include "Editor/Project/EditorAutosave.h"
#include "Editor/Project/ProjectAutosaveCoordinator.h"
#include "Editor/Project/ProjectError.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

using namespace std::chrono_literals;

class DiskFull : public Error {
 public:
  DiskFull() : Error("disk full") {}
};

ProjectAutosaveSnapshot state(double padding) {
  return {.projectId = "A", .editorState = {.video = ProjectVideoEditorState{.padding = padding}}};
}

/// Everything on one loop whose time and writes the test moves along.
class ProjectAutosaveCoordinatorTest : public testing::Test {
 protected:
  ProjectAutosaveCoordinatorTest() {
    autosave = ProjectAutosaveCoordinator::make(
        loop.get_executor(), 800ms,
        {.save = [this](ProjectAutosaveSnapshot snapshot) { return save(std::move(snapshot)); },
         .status =
             [this](ProjectAutosaveStatus status) {
               statuses.push_back(std::move(status));
               if (onStatus) onStatus();
             },
         .sleep = [this](std::chrono::nanoseconds duration) { return sleep(duration); }});
  }

  Task<bool> sleep(std::chrono::nanoseconds duration) {
    const auto& wake = sleepers.emplace(now + duration, Continuation<bool>(loop.get_executor()))->second;
    co_return co_await wake.wait();
  }
  Task<> save(ProjectAutosaveSnapshot snapshot) {
    EXPECT_EQ(running, 0);
    ++running;
    if (holdWrites) co_await writes.emplace_back(loop.get_executor()).wait();
    --running;
    if (fail) throw DiskFull();
    saved.push_back(snapshot.editorState.video->padding);
  }
  void settle() {
    loop.restart();
    loop.poll();
  }
  void advance(std::chrono::nanoseconds duration) {
    settle();
    now += duration;
    while (!sleepers.empty() && sleepers.begin()->first <= now) {
      sleepers.begin()->second.resume(true);
      sleepers.erase(sleepers.begin());
      settle();
    }
    settle();
  }
  void endWrite() {
    ASSERT_FALSE(writes.empty());
    writes.front().resume(true);
    writes.pop_front();
    settle();
  }
  std::shared_ptr<std::optional<bool>> flush(std::optional<ProjectAutosaveSnapshot> snapshot = {}) {
    auto result = std::make_shared<std::optional<bool>>();
    asio::co_spawn(loop, autosave->flush(std::move(snapshot)),
                   [result](std::exception_ptr, bool ok) { *result = ok; });
    settle();
    return result;
  }

  asio::io_context loop;
  std::chrono::nanoseconds now{0};
  std::multimap<std::chrono::nanoseconds, Continuation<bool>> sleepers;
  std::deque<Continuation<bool>> writes;
  bool holdWrites = false;
  bool fail = false;
  int running = 0;
  std::vector<double> saved;
  std::vector<ProjectAutosaveStatus> statuses;
  std::function<void()> onStatus;
  std::shared_ptr<ProjectAutosaveCoordinator> autosave;
};

using Saved = std::vector<double>;

TEST_F(ProjectAutosaveCoordinatorTest, SavesOnceAfterAQuietWhile) {
  autosave->schedule(std::nullopt);
  for (int edit = 1; edit <= 5; ++edit) {
    autosave->schedule(state(edit));
    advance(300ms);
  }
  EXPECT_EQ(saved, Saved{});
  advance(499ms);
  EXPECT_EQ(saved, Saved{});
  advance(1ms);
  EXPECT_EQ(saved, Saved{5});
  EXPECT_EQ(statuses, (std::vector<ProjectAutosaveStatus>{AutosaveSaving{}, AutosaveSaved{}}));
  advance(10s);
  EXPECT_EQ(saved, Saved{5});
}

TEST_F(ProjectAutosaveCoordinatorTest, WritesNothingForWhatIsOnTheDiskAlready) {
  autosave->seed(state(1));
  autosave->schedule(state(2));
  advance(500ms);
  autosave->schedule(state(1));
  advance(10s);
  EXPECT_EQ(*flush(), true);
  EXPECT_EQ(saved, Saved{});
}

TEST_F(ProjectAutosaveCoordinatorTest, WritesTheNewestStateAfterARunningWrite) {
  struct Case {
    std::vector<double> edits;
    Saved expected;
  };
  // The last: undone, during the write, to what was on the disk before it.
  for (const auto& [edits, expected] : {Case{{2, 3}, {1, 3}}, Case{{1}, {1}}, Case{{0}, {1, 0}}}) {
    saved.clear();
    holdWrites = true;
    autosave->seed(state(0));
    autosave->schedule(state(1));
    advance(800ms);
    for (const double edit : edits) autosave->schedule(state(edit));
    holdWrites = false;
    endWrite();
    EXPECT_EQ(saved, expected);
  }
}

TEST_F(ProjectAutosaveCoordinatorTest, WritesOneAtATimeWhenAListenerSchedules) {
  holdWrites = true;
  autosave->schedule(state(1));
  advance(800ms);
  autosave->schedule(state(2));
  onStatus = [this] {
    onStatus = nullptr;
    autosave->schedule(state(3));
  };
  endWrite();  // the second write begins, with the third state
  advance(800ms);
  autosave->schedule(state(4));
  endWrite();
  endWrite();
  EXPECT_EQ(saved, (Saved{1, 3, 4}));
  EXPECT_TRUE(writes.empty());
}

TEST_F(ProjectAutosaveCoordinatorTest, FlushWaitsForTheRunningWriteAndThenWrites) {
  holdWrites = true;
  autosave->schedule(state(1));
  advance(800ms);
  const auto flushed = flush(state(2));
  EXPECT_FALSE(*flushed);
  endWrite();
  EXPECT_FALSE(*flushed);
  endWrite();
  EXPECT_EQ(*flushed, true);
  EXPECT_EQ(saved, (Saved{1, 2}));
  EXPECT_EQ(*flush(), true);
}

TEST_F(ProjectAutosaveCoordinatorTest, TellsAFailureAndTriesAgainOnlyWhenAsked) {
  fail = true;
  EXPECT_EQ(*flush(state(1)), false);
  EXPECT_EQ(statuses.back(), ProjectAutosaveStatus(AutosaveFailed{"disk full"}));
  fail = false;
  advance(10s);
  EXPECT_EQ(saved, Saved{});
  autosave->schedule(state(1));
  advance(800ms);
  EXPECT_EQ(saved, Saved{1});
}

TEST_F(ProjectAutosaveCoordinatorTest, NeverWritesAnAbandonedProject) {
  autosave->schedule(state(1));
  settle();
  autosave->abandon();
  advance(10s);
  autosave->schedule(state(2));
  advance(10s);
  EXPECT_EQ(*flush(state(3)), true);
  EXPECT_EQ(saved, Saved{});
}

class Holder : public EditorStateHolding {
 public:
  ProjectEditorState state;
  ProjectEditorState exportEditorState() const override { return state; }
  void applyEditorState(const ProjectEditorState& applied) override { state = applied; }
};

TEST(EditorAutosave, WritesEditsOfAnOpenProjectAndNothingBeforeThem) {
  const TemporaryFolder folder;
  const ProjectStore store{folder.path()};
  store.createDocument({.title = "T", .createdAt = "", .updatedAt = "opened", .id = "A"});
  Holder holder;
  const auto mainThread = makeStrand();
  const ProjectLibrary library(folder.path());
  EditorAutosave autosave(library, "A", holder, mainThread, 1h);
  const auto open = [&]() -> Task<> {
    autosave.markOpened(store.load("A").revision);
    co_return;
  };
  runBlocking(open(), mainThread);
  EXPECT_TRUE(runBlocking(autosave.flush(), mainThread));
  EXPECT_EQ(store.document("A")->updatedAt, "opened");
  holder.state = state(9).editorState;
  EXPECT_TRUE(runBlocking(autosave.flush(), mainThread));
  EXPECT_EQ(store.document("A")->editorState, holder.state);
  EXPECT_EQ(autosave.status(), ProjectAutosaveStatus(AutosaveSaved{}));

  // A link does not get into an edit's way; another edit and a document that is gone or damaged do, in words.
  store.updateShare("A", {.slug = "s", .status = ProjectShareStatus::ready});
  holder.state = state(10).editorState;
  EXPECT_TRUE(runBlocking(autosave.flush(), mainThread));
  EXPECT_EQ(store.share("A")->slug, "s");
  const auto expectUnsaved = [&](const ProjectError& reason) {
    EXPECT_FALSE(runBlocking(autosave.flush(), mainThread));
    EXPECT_EQ(autosave.status(), ProjectAutosaveStatus(AutosaveFailed{reason.description()}));
  };
  store.writeEditorState("A", state(11).editorState);
  holder.state = state(12).editorState;
  expectUnsaved(ProjectError(ProjectError::Kind::changed));
  AtomicFile::write(folder / "A.json", "{");
  expectUnsaved(ProjectError(ProjectError::Kind::unreadable, "not valid JSON at byte 2"));
  std::filesystem::remove(folder / "A.json");
  expectUnsaved(ProjectError(ProjectError::Kind::missing));
}

}  // namespace
}  // namespace quillant
