#include <cerrno>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Core/AtomicFile.h"
#include "Core/JSON.h"
#include "Core/UUID.h"
#include "Editor/Project/FolderLock.h"
#include "Editor/Project/ProjectBundle.h"
#include "Editor/Project/ProjectError.h"
#include "Editor/Project/ProjectLibrary.h"
#include "Tests/Editor/Project/FileSystemFaults.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

using Kind = ProjectChange::Kind;

ProjectEditorState padding(double value) {
  return {.video = ProjectVideoEditorState{.padding = value}};
}

class ProjectLibraryTest : public testing::Test {
 protected:
  void create(const std::string& id, const std::string& updatedAt = "2026-01-01T00:00:00Z") {
    runBlocking(library.registerRecording(
        {.screenVideoPath = "/" + id + ".mp4"},
        {.id = id, .title = "Title of " + id, .createdAt = updatedAt, .updatedAt = updatedAt}));
  }
  std::string listed(const ProjectLibrary& of) {
    std::string ids;
    for (const auto& item : runBlocking(of.projects())) ids += item.id;
    return ids;
  }
  template <class T>
  void expectError(ProjectError::Kind kind, Task<T> task) {
    try {
      runBlocking(std::move(task));
      ADD_FAILURE();
    } catch (const ProjectError& error) {
      EXPECT_EQ(error.kind(), kind) << error.description();
    }
  }

  TemporaryFolder folder;
  ProjectStore store{folder / "store"};
  ProjectLibrary library{folder / "store"};
  ProjectLibrary elsewhere{folder / "store"};  ///< As another program has it.
};

TEST_F(ProjectLibraryTest, TellsAMissingProjectFromOneThatCannotBeRead) {
  create("A");
  create("B");
  expectError(ProjectError::Kind::missing, library.project("C"));
  expectError(ProjectError::Kind::missing, library.project("../A"));
  expectError(ProjectError::Kind::missing, library.rename("C", "x"));
  std::filesystem::copy_file(folder / "store" / "A.json", folder / "store" / "C.json");
  expectError(ProjectError::Kind::unreadable, library.project("C"));
  FileSystemFaults faults;
  faults.unreadable = "/B.json";
  expectError(ProjectError::Kind::unreadable, library.project("B"));
  expectError(ProjectError::Kind::unreadable, library.updateShare("B", [](auto&) { ADD_FAILURE(); }));
}

TEST_F(ProjectLibraryTest, NeverReplacesWhatTheWriterHasNotSeen) {
  create("A");
  const auto opened = runBlocking(library.project("A"));
  const auto link = [](ProjectShareRecord& record) {
    record = {.slug = "s", .shareURL = "u", .status = ProjectShareStatus::ready};
  };
  runBlocking(elsewhere.updateShare("A", link));
  const auto saved = runBlocking(library.writeEditorState("A", padding(1), opened.revision));
  EXPECT_EQ(saved, runBlocking(library.project("A")).revision);
  // Copies from before the link, and from before the edit.
  expectError(ProjectError::Kind::changed, library.save(opened.document, opened.revision));
  expectError(ProjectError::Kind::changed, elsewhere.writeEditorState("A", padding(2), opened.revision));
  EXPECT_EQ(runBlocking(elsewhere.writeEditorState("A", padding(1), opened.revision)), saved);
  EXPECT_THROW(runBlocking(library.updateShare("A", [](auto& record) { record.slug = "t"; })),
               ProjectStore::StoreError);
  auto current = runBlocking(library.project("A"));
  EXPECT_EQ(current.document.share.slug, "s");
  EXPECT_EQ(current.document.editorState, padding(1));
  current.document.title = "N";
  EXPECT_EQ(runBlocking(library.save(current.document, current.revision)).editorState, saved.editorState);
  EXPECT_EQ(runBlocking(elsewhere.projects()).at(0).title, "N");
  EXPECT_EQ(runBlocking(elsewhere.projects()).at(0).shareURL, "u");
}

TEST_F(ProjectLibraryTest, ListsEveryDocumentWhateverBecameOfTheIndex) {
  create("A", "2026-01-01T00:00:00Z");
  create("B", "2026-01-03T00:00:00Z");
  create("C", "2026-01-02T00:00:00Z");
  const auto index = folder / "store" / "index.json";
  const auto whole = AtomicFile::read(index);
  auto oneBad = JSON::parse(whole);
  oneBad[0]["title"] = 7;
  for (const auto& contents : {std::string(), whole.substr(0, whole.size() / 2), std::string("{}"),
                               JSON::pretty(oneBad), std::string("[]")}) {
    AtomicFile::write(index, contents);
    EXPECT_EQ(listed(library), "BCA") << contents;
    EXPECT_EQ(AtomicFile::read(index), whole);
  }
  // One read that fails forgets neither the others nor the one.
  FileSystemFaults faults;
  faults.unreadable = "/index.json";
  EXPECT_EQ(listed(library), "BCA");
  faults.unreadable = "/C.json";
  std::filesystem::permissions(folder / "store" / "C.json", std::filesystem::perms::owner_all);
  EXPECT_EQ(listed(library), "BCA");
  faults.unreadable.clear();
  ASSERT_EQ(::mkfifo((folder / "store" / "pipe.json").c_str(), 0600), 0);
  std::filesystem::remove(folder / "store" / "B.json");
  EXPECT_EQ(listed(library), "CA");
}

TEST_F(ProjectLibraryTest, OpensNoDocumentThatIsListedAlready) {
  create("A1");
  create("B1");
  runBlocking(library.updateShare("A1", [](auto& record) { record.slug = "s"; }));
  AtomicFile::write(folder / "r.mp4", "screen");
  runBlocking(library.registerRecording({.screenVideoPath = (folder / "r.mp4").string()},
                                        {.id = "C1", .title = "T", .createdAt = "c", .updatedAt = "u"}));
  runBlocking(library.exportProject("C1", folder / "b.quillant"));
  FileSystemFaults faults;
  faults.counted = "1.json";
  EXPECT_EQ(listed(library).size(), 6U);
  EXPECT_EQ(listed(elsewhere).size(), 6U);
  auto manifest = JSON::parse(AtomicFile::read(folder / "b.quillant" / "project.json"));
  for (const char* slug : {"s", "t"}) {
    manifest["share"]["slug"] = slug;
    AtomicFile::write(folder / "b.quillant" / "project.json", JSON::pretty(manifest));
    const auto imported = runBlocking(elsewhere.importProject(folder / "b.quillant", folder / "media"));
    EXPECT_EQ(imported.share.slug.has_value(), std::string(slug) == "t");
  }
  EXPECT_EQ(faults.opened, 0);
}

TEST_F(ProjectLibraryTest, SaysWhatChanged) {
  std::vector<ProjectChange> changes;
  const auto connection = library.changed().connect([&](const auto& change) { changes.push_back(change); });
  create("A");
  EXPECT_EQ(listed(library), "A");
  runBlocking(library.rename("A", "N"));
  runBlocking(library.rename("A", "N"));
  runBlocking(library.writeEditorState("A", padding(1), {}));
  runBlocking(library.updateShare("A", [](auto& record) { record.slug = "s"; }));
  EXPECT_EQ(listed(library), "A");
  runBlocking(elsewhere.rename("A", "M"));
  runBlocking(elsewhere.registerRecording({.screenVideoPath = "/B.mp4"},
                                          {.id = "B", .title = "T", .createdAt = "c", .updatedAt = "1"}));
  EXPECT_EQ(listed(library), "AB");
  runBlocking(elsewhere.delete_("A"));
  EXPECT_EQ(listed(library), "B");
  runBlocking(library.delete_("B"));
  EXPECT_EQ(changes, (std::vector<ProjectChange>{{"A", Kind::created},
                                                 {"A", Kind::renamed},
                                                 {"A", Kind::edited},
                                                 {"A", Kind::shared},
                                                 {"A", Kind::changedElsewhere},
                                                 {"B", Kind::created},
                                                 {"A", Kind::deleted},
                                                 {"B", Kind::deleted}}));
}

TEST_F(ProjectLibraryTest, HasOneProjectOfARecordingHoweverManyRegisterIt) {
  std::vector<std::future<ProjectStore::Registration>> registrations;
  for (int program = 0; program < 8; ++program)
    registrations.push_back(std::async(std::launch::async, [&] {
      ProjectStore::CreateOptions options{.id = UUID::random().text(), .title = "T"};
      return runBlocking(
          ProjectLibrary(store.directory).registerRecording({.screenVideoPath = "/r.mp4"}, options));
    }));
  std::set<std::string> ids;
  int made = 0;
  for (auto& registration : registrations) {
    const auto [entry, isNew] = registration.get();
    ids.insert(entry.summary.id);
    made += isNew;
  }
  EXPECT_EQ(made, 1);
  EXPECT_EQ(ids, std::set{listed(library)});
}

TEST_F(ProjectLibraryTest, RemovesWhatKilledWritersLeft) {
  create("A");
  for (const char* name : {".A.json.x1Y2z3", ".index.json.AAAAAA", ".notes", ".notes.123456"})
    std::ofstream(folder / "store" / name) << "x";
  EXPECT_EQ(listed(ProjectLibrary(folder / "store")), "A");
  const std::filesystem::directory_iterator files(folder / "store");
  EXPECT_EQ(std::distance(files, {}), 5) << "the document, the index, the lock and what is not ours";
}

TEST_F(ProjectLibraryTest, WaitsForALockNotForEver) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP()
      << "the thread sanitizer of g++ 12 waits for ever for its own lock in one of these short sleeps";
#endif
  for (const int error : {0, ENOSYS, EOPNOTSUPP, EINVAL}) {
    FileSystemFaults faults;
    faults.lockError = error;
    {
      const FolderLock held(folder.path());
      try {
        const FolderLock second(folder.path(), std::chrono::milliseconds(20));
        ADD_FAILURE();
      } catch (const FileError& failure) {
        EXPECT_EQ(failure.code(), std::errc::device_or_resource_busy);
      }
    }
    const FolderLock free(folder.path(), std::chrono::milliseconds(0));
  }
}

TEST_F(ProjectLibraryTest, WorksWhereTheFileSystemKnowsNoLocks) {
  FileSystemFaults faults;
  faults.lockError = ENOSYS;
  const auto inChild = [](auto&& work) {
    const pid_t child = ::fork();
    if (child != 0) return child;
    work();
    ::_exit(0);  // lets go of nothing
  };
  const auto wait = [](pid_t child) {
    int status = 1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  };
  wait(inChild([&] {
    const FolderLock held(folder / "store");
    ::_exit(0);
  }));
  EXPECT_TRUE(std::filesystem::exists(folder / "store" / ".lock.owner"));
  constexpr int each = 15;
  const auto createAll = [&](const char* prefix) {
    for (int i = 0; i < each; ++i)
      store.createDocument(
          {.title = "T", .createdAt = "c", .updatedAt = "u", .id = prefix + std::to_string(i)});
  };
  const pid_t children[] = {inChild([&] { createAll("A"); }), inChild([&] { createAll("B"); })};
  for (const pid_t child : children) wait(child);
  EXPECT_EQ(store.projects().size(), 2U * each);
  EXPECT_FALSE(std::filesystem::exists(folder / "store" / ".lock.owner"));
}

TEST_F(ProjectLibraryTest, MovesBundlesWhereRenamingReplaces) {
  AtomicFile::write(folder / "r.mp4", "screen");
  runBlocking(library.registerRecording({.screenVideoPath = (folder / "r.mp4").string()},
                                        {.id = "A", .title = "T", .createdAt = "c", .updatedAt = "u"}));
  FileSystemFaults faults;
  faults.renameError = EINVAL;
  faults.lockError = ENOSYS;
  const auto bundle = folder / "b.quillant";
  runBlocking(library.exportProject("A", bundle));
  EXPECT_THROW(runBlocking(library.exportProject("A", bundle)), BundleError);
  const auto imported = runBlocking(library.importProject(bundle, folder / "media"));
  EXPECT_EQ(AtomicFile::read(*imported.recordingPath), "screen");
  EXPECT_EQ(listed(library).size(), 37U);
  // A staging folder that nobody fills any more goes with the next of its name; a fresh one stays.
  faults.lockError = 0;
  std::filesystem::create_directories(folder / "media" / ".import.AAAAAA");
  std::filesystem::create_directories(folder / "media" / ".import.BBBBBB");
  std::filesystem::last_write_time(folder / "media" / ".import.AAAAAA",
                                   std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
  runBlocking(library.importProject(bundle, folder / "media"));
  EXPECT_FALSE(std::filesystem::exists(folder / "media" / ".import.AAAAAA"));
  EXPECT_TRUE(std::filesystem::exists(folder / "media" / ".import.BBBBBB"));
}

}  // namespace
}  // namespace quillant
