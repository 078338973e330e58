#include <fstream>
#include <gtest/gtest.h>

#include "Tests/Support/Media/TestRecording.h"
#include "Tests/Support/TemporaryFolder.h"
#include "quillant/Models/LibraryRecoverySweep.h"

namespace quillant {
namespace {

/// A playable orphan with a camera, and one of which nothing reached the disk.
void leaveOrphans(const std::filesystem::path& folder) {
  TestRecording{.frames = 10}.write(folder / "good.mp4");
  std::ofstream(folder / "good.recording") << R"({"startedAt": 0, "pid": 7})";
  std::ofstream(folder / "good.facecam.mov") << "a camera";
  std::ofstream(folder / "bad.mp4");
  std::ofstream(folder / "bad.recording") << "{}";
}

TEST(LibraryRecoverySweep, MakesProjectsOfWhatPlaysAndOffersNothingTwice) {
  const TemporaryFolder folder;
  leaveOrphans(folder.path());
  const ProjectStore store{folder / "projects"};
  int changes = 0;
  for (int launch = 0; launch < 2; ++launch) {
    runBlocking(
        LibraryRecoverySweep::run(ProjectLibrary(store.directory), folder.path(), [&] { ++changes; }));
    // As if the first had been killed before it took the marker away.
    if (launch == 0) std::ofstream(folder / "good.recording") << "{}";
  }
  EXPECT_EQ(changes, 1);
  const auto projects = store.projects();
  ASSERT_EQ(projects.size(), 1U);
  EXPECT_EQ(projects[0].title, "Recording");
  EXPECT_EQ(projects[0].createdAt, "2001-01-01T00:00:00Z");
  EXPECT_EQ(projects[0].updatedAt, projects[0].createdAt);
  EXPECT_EQ(projects[0].interruptedCause, "recording stopped unexpectedly");
  const auto media = store.recording(projects[0].id);
  EXPECT_EQ(media.screenVideoPath, (folder / "good.mp4").string());
  EXPECT_EQ(media.facecamVideoPath, (folder / "good.facecam.mov").string());
  EXPECT_FALSE(media.cursorTelemetryPath);
  EXPECT_TRUE(std::filesystem::exists(folder / "bad.mp4"));
}

TEST(LibraryRecoverySweep, GoesOnWhenTheStoreCannotBeWritten) {
  const TemporaryFolder folder;
  leaveOrphans(folder.path());
  std::ofstream(folder / "projects") << "a file where the folder belongs";
  runBlocking(
      LibraryRecoverySweep::run(ProjectLibrary(folder / "projects"), folder.path(), [] { ADD_FAILURE(); }));
  EXPECT_FALSE(std::filesystem::exists(folder / "good.recording"));
  EXPECT_FALSE(std::filesystem::exists(folder / "bad.recording"));
  EXPECT_TRUE(std::filesystem::exists(folder / "good.mp4"));
}

}  // namespace
}  // namespace quillant
