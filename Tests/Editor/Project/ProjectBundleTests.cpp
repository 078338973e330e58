#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Core/AtomicFile.h"
#include "Core/JSON.h"
#include "Editor/Project/ProjectBundle.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

namespace fs = std::filesystem;

class ProjectBundleTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const auto& [name, contents] : {std::pair{"r.mp4", "screen"},
                                         {"r.cursor.json", "cursor"},
                                         {"r.facecam.mov", "camera"},
                                         {"r.source-1.mov", "added"},
                                         {"r2.source-1.mov", "another recording's"}})
      AtomicFile::write(media(name), contents);
    store.create({.screenVideoPath = media("r.mp4"),
                  .cursorTelemetryPath = media("r.cursor.json"),
                  .facecamVideoPath = media("r.facecam.mov"),
                  .facecamOffsetMs = 40,
                  .sourceName = "Display"},
                 {.id = "A", .title = "../Talk: one", .createdAt = "2026-01-01T00:00:00Z", .updatedAt = "u"});
    store.writeEditorState("A", {.video = ProjectVideoEditorState{.padding = 7}});
    fs::create_directory(imported);
  }

  std::string media(const char* name) const {
    fs::create_directories(folder / "media");
    return (folder / "media" / name).string();
  }
  /// Expects the import to be refused and to leave nothing.
  void expectRefused(BundleError::Kind kind) {
    try {
      ProjectBundle::CopiedBundle(bundle, imported).registerIn(other);
      ADD_FAILURE();
    } catch (const BundleError& error) {
      EXPECT_EQ(error.kind(), kind) << error.description();
    }
    EXPECT_TRUE(fs::is_empty(imported));
    EXPECT_TRUE(other.projects().empty());
  }

  TemporaryFolder folder;
  ProjectStore store{folder / "store"};
  ProjectStore other{folder / "other"};
  fs::path bundle = folder / "Talk.quillant";
  fs::path imported = folder / "imported";
};

TEST_F(ProjectBundleTest, CarriesAWholeProjectToAnotherStore) {
  store.updateShare("A", {.slug = "s", .status = ProjectShareStatus::ready});
  const auto exported = store.exportedProject("A").value();
  EXPECT_EQ(exported.suggestedName, "-Talk- one");
  ProjectBundle::write(exported, bundle);
  EXPECT_EQ(fs::hard_link_count(bundle / "screen.mp4"), 2U);
  EXPECT_EQ(AtomicFile::read(bundle / "screen.source-1.mov"), "added");

  const auto project = ProjectBundle::CopiedBundle(bundle, imported).registerIn(other);
  EXPECT_EQ(other.document(project.id), project);
  EXPECT_EQ(project.title, "../Talk: one");
  EXPECT_EQ(project.createdAt, "2026-01-01T00:00:00Z");
  EXPECT_EQ(project.editorState, store.document("A")->editorState);
  EXPECT_EQ(project.recordingSession->facecamOffsetMs, 40);
  EXPECT_EQ(project.share.slug, "s");
  EXPECT_EQ(AtomicFile::read(*project.recordingPath), "screen");
  EXPECT_EQ(AtomicFile::read(*project.recordingSession->cursorTelemetryPath), "cursor");
  const fs::path screen = *project.recordingPath;
  EXPECT_EQ(screen.parent_path(), imported);
  EXPECT_EQ(AtomicFile::read(imported / (screen.stem().string() + ".source-1.mov")), "added");
  EXPECT_FALSE(ProjectBundle::CopiedBundle(bundle, imported).registerIn(other).share.slug);
}

TEST_F(ProjectBundleTest, AppearsWholeOrNotAtAll) {
  fs::create_directory(bundle);
  EXPECT_THROW(ProjectBundle::write(store.exportedProject("A").value(), bundle), BundleError);
  fs::remove(bundle);
  fs::remove(media("r.mp4"));
  EXPECT_THROW(ProjectBundle::write(store.exportedProject("A").value(), bundle), BundleError);
  AtomicFile::write(media("r.mp4"), "screen");
  fs::remove(media("r.facecam.mov"));
  fs::create_directory(media("r.source-2.mov"));
  EXPECT_THROW(ProjectBundle::write(store.exportedProject("A").value(), bundle), Error);
  for (const auto& entry : fs::directory_iterator(folder.path()))
    EXPECT_EQ(entry.path().string().find("Talk.quillant"), std::string::npos) << entry.path();
}

TEST_F(ProjectBundleTest, ReadsNothingThroughLinksAndWritesNothingOutside) {
  AtomicFile::write(folder / "secret", "secret");
  const char* entries[] = {"project.json",       "editorState.json",   "screen.mp4",
                           "screen.cursor.json", "screen.facecam.mov", "screen.source-x"};
  for (const char* entry : entries)
    for (const bool pipe : {false, true}) {
      fs::remove_all(bundle);
      ProjectBundle::write(store.exportedProject("A").value(), bundle);
      fs::remove(bundle / entry);
      if (pipe)
        ASSERT_EQ(::mkfifo((bundle / entry).c_str(), 0600), 0);
      else
        fs::create_symlink(folder / "secret", bundle / entry);
      SCOPED_TRACE(entry);
      expectRefused(BundleError::Kind::unsafe);
    }
}

TEST_F(ProjectBundleTest, RefusesSourcesThatLeadOutAndFoldersThatAreNoBundle) {
  expectRefused(BundleError::Kind::notABundle);
  fs::create_directory(bundle);
  expectRefused(BundleError::Kind::notABundle);
  fs::remove_all(bundle);
  auto exported = store.exportedProject("A").value();
  for (const char* id : {"../../x", "/etc/passwd", ".."}) {
    auto state = JSON::parse(*exported.editorStateJSON);
    state["timelineEdits"]["audioSources"] = {
        {{"id", id}, {"kind", "file"}, {"fileExtension", "m4a"}, {"displayName", "n"}}};
    exported.editorStateJSON = JSON::pretty(state);
    ProjectBundle::write(exported, bundle);
    expectRefused(BundleError::Kind::unsafe);
    fs::remove_all(bundle);
  }
}

}  // namespace
}  // namespace quillant
