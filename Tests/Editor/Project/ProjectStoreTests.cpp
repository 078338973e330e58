#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "Core/AtomicFile.h"
#include "Core/JSON.h"
#include "Editor/Project/ProjectError.h"
#include "Editor/Project/ProjectStore.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

ProjectDocument document(const std::string& id, const std::string& updatedAt = "2026-01-01T00:00:00Z") {
  return {.title = "Title of " + id,
          .recordingPath = "/movies/" + id + ".mp4",
          .createdAt = "2026-01-01T00:00:00Z",
          .updatedAt = updatedAt,
          .id = id};
}

std::vector<std::string> listedIDs(const ProjectStore& store) {
  std::vector<std::string> ids;
  for (const auto& item : store.projects()) ids.push_back(item.id);
  return ids;
}

class ProjectStoreTest : public testing::Test {
 protected:
  TemporaryFolder folder;
  ProjectStore store{folder / "store"};
};

TEST_F(ProjectStoreTest, RegistersARecordingAndListsTheLatestChangeFirst) {
  const auto created =
      store.create({.screenVideoPath = "/a.mp4", .facecamOffsetMs = 5, .sourceName = "Display"},
                   {.id = "A",
                    .title = "T",
                    .createdAt = "2026-01-02T00:00:00Z",
                    .updatedAt = "2026-01-02T00:00:00Z",
                    .interruptedCause = "x"});
  EXPECT_EQ(store.document("A"), created);
  EXPECT_FALSE(created.recordingSession->showCursorOverlay);
  EXPECT_EQ(store.recording("A").facecamOffsetMs, 5);
  store.createDocument(document("B", "2026-01-03T00:00:00Z"));
  store.createDocument(document("C", "2026-01-01T00:00:00Z"));
  EXPECT_EQ(listedIDs(store), (std::vector<std::string>{"B", "A", "C"}));
  store.rename("C", "Newest");
  EXPECT_EQ(listedIDs(store).front(), "C");
  EXPECT_EQ(store.projects().front().title, "Newest");
  std::filesystem::remove(folder / "store" / "B.json");
  EXPECT_EQ(store.projects().size(), 3U);
  store.delete_("A");
  EXPECT_EQ(listedIDs(store), (std::vector<std::string>{"C", "B"}));
}

TEST_F(ProjectStoreTest, NeverChangesASlugByAnyRoad) {
  auto project = document("A");
  store.createDocument(project);
  project.share = {.slug = "one", .status = ProjectShareStatus::ready};
  store.saveDocument(project);
  const auto before = AtomicFile::read(folder / "store" / "A.json");
  auto changed = project;
  changed.share.slug = "two";
  EXPECT_THROW(store.saveDocument(changed), ProjectStore::StoreError);
  EXPECT_THROW(store.updateShare("A", changed.share), ProjectStore::StoreError);
  EXPECT_EQ(AtomicFile::read(folder / "store" / "A.json"), before);
  store.updateShare("A", {});
  EXPECT_FALSE(store.share("A")->slug);
  store.saveDocument(changed);
  EXPECT_EQ(store.shareRecords().at("A").slug, "two");
}

TEST_F(ProjectStoreTest, CountsACorruptIndexAsEmpty) {
  for (const char* id : {"A", "B", "C"}) store.createDocument(document(id));
  AtomicFile::write(folder / "store" / "index.json", "[{\"id\": 7");
  EXPECT_TRUE(store.projects().empty());
  store.saveDocument(*store.document("B"));
  EXPECT_EQ(listedIDs(store), std::vector<std::string>{"B"});
}

TEST_F(ProjectStoreTest, RefusesPathsThatADocumentCannotKeep) {
  const std::string path = "/movies/caf\xE9.mp4";
  for (const RecordingHandoffFields& media :
       {RecordingHandoffFields{.screenVideoPath = path},
        RecordingHandoffFields{.screenVideoPath = "/a.mp4", .cursorTelemetryPath = path},
        RecordingHandoffFields{.screenVideoPath = "/a.mp4", .facecamVideoPath = path}}) {
    try {
      store.create(media, {.id = "A", .title = "T", .createdAt = "c", .updatedAt = "u"});
      ADD_FAILURE();
    } catch (const ProjectError& error) {
      EXPECT_EQ(error.description(),
                "the path " + path + " is not UTF-8, so a project cannot keep it; rename it");
    }
  }
  EXPECT_FALSE(std::filesystem::exists(folder / "store" / "A.json"));
}

TEST_F(ProjectStoreTest, LeavesTheOldDocumentWhenTheDiskIsFull) {
  store.createDocument(document("A"));
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit full{.rlim_cur = 2000, .rlim_max = 2000};
    ::setrlimit(RLIMIT_FSIZE, &full);
    try {
      store.rename("A", std::string(5000, 'x'));
    } catch (const FileError&) {
      ::_exit(7);
    }
    ::_exit(0);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 7);
  EXPECT_EQ(store.projects().at(0).title, "Title of A");
  const std::filesystem::directory_iterator files(folder / "store");
  EXPECT_EQ(std::distance(files, {}), 3) << "the document, the index and the lock";
}

TEST_F(ProjectStoreTest, LeavesMissingProjectsAndForeignPathsAlone) {
  store.writeEditorState("gone", {});
  store.rename("gone", "x");
  EXPECT_FALSE(std::filesystem::exists(folder / "store"));
  AtomicFile::write(folder / "outside.json", JSON::pretty(document("../outside")));
  EXPECT_FALSE(store.document("../outside"));
  EXPECT_FALSE(store.document("index"));
  EXPECT_THROW(store.saveDocument(document("../outside")), FileError);
  EXPECT_THROW(store.delete_("../outside"), FileError);
  EXPECT_THROW(store.createDocument(document("index")), FileError);
  store.delete_("gone");
  EXPECT_FALSE(std::filesystem::exists(folder / "store"));
  std::filesystem::create_directory_symlink("loop", folder / "loop");
  EXPECT_THROW(ProjectStore{folder / "loop"}.delete_("A"), FileError) << "nobody knows that it is gone";
  store.createDocument(document("B"));
  std::filesystem::copy(folder / "store" / "B.json", folder / "store" / "A.json");
  EXPECT_FALSE(store.document("A")) << "another project's document under this name";
  EXPECT_TRUE(std::filesystem::exists(folder / "outside.json"));
}

TEST_F(ProjectStoreTest, KeepsEveryEntryWhenTwoProcessesWriteAtOnce) {
  constexpr int each = 25;
  std::vector<pid_t> children;
  for (const char* prefix : {"A", "B"}) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      for (int i = 0; i < each; ++i) store.createDocument(document(prefix + std::to_string(i)));
      ::_exit(0);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(store.projects().size(), 2U * each);
}

TEST_F(ProjectStoreTest, LeavesWholeFilesWhenKilledAtAnyWrite) {
  store.createDocument(document("A"));
  for (int round = 0; round < 25; ++round) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0)
      for (int i = 0;; ++i)
        store.rename("A", std::string(static_cast<std::size_t>(1 + i % 2) * 100'000, 'x'));
    std::this_thread::sleep_for(std::chrono::microseconds(1000 + 300 * round));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ASSERT_TRUE(store.document("A"));
    ASSERT_EQ(store.projects().size(), 1U);
  }
}

class Holder : public EditorStateHolding {
 public:
  ProjectEditorState state;
  ProjectEditorState exportEditorState() const override { return state; }
  void applyEditorState(const ProjectEditorState& applied) override { state = applied; }
};

TEST_F(ProjectStoreTest, SavesAndRestoresTheOpenRecordingsState) {
  store.createDocument(document("A"));
  Holder holder;
  EXPECT_FALSE(store.restoreEditorState(holder, "A"));
  holder.state.video = ProjectVideoEditorState{.padding = 3};
  store.saveEditorState(holder, "A");
  EXPECT_NE(store.document("A")->updatedAt, "2026-01-01T00:00:00Z");
  Holder other;
  EXPECT_TRUE(store.restoreEditorState(other, "A"));
  EXPECT_EQ(other.state, holder.state);
}

}  // namespace
}  // namespace quillant
