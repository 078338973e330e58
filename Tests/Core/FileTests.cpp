#include <chrono>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "Core/AtomicFile.h"
#include "Core/ByteSize.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

std::size_t entryCount(const std::filesystem::path& folder) {
  return static_cast<std::size_t>(
      std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator{}));
}

TEST(AtomicFile, ReplacesTheWholeFileWithItsMode) {
  const TemporaryFolder folder;
  const auto path = folder / "a.json";
  AtomicFile::write(path, std::string(100'000, 'x'));
  AtomicFile::write(path, "short", 0600);
  EXPECT_EQ(AtomicFile::read(path), "short");
  struct stat status {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  EXPECT_EQ(entryCount(folder.path()), 1U);

  // Without one: what the umask allows, and from then on what the user made of it.
  const auto other = folder / "b.json";
  const auto before = ::umask(027);
  AtomicFile::write(other, "x");
  ::umask(before);
  ASSERT_EQ(::stat(other.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0640U);
  ASSERT_EQ(::chmod(other.c_str(), 0604), 0);
  AtomicFile::write(other, "y");
  ASSERT_EQ(::stat(other.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0604U);
}

TEST(AtomicFile, LeavesNothingBehindWhenItFails) {
  const TemporaryFolder folder;
  std::filesystem::create_directories(folder / "target" / "full");
  EXPECT_THROW(AtomicFile::write(folder / "target", "x"), FileError);
  EXPECT_EQ(entryCount(folder.path()), 1U);
  try {
    AtomicFile::write(folder / "missing" / "a.json", "x");
    ADD_FAILURE();
  } catch (const FileError& error) {
    EXPECT_EQ(error.description(),
              "could not write " + (folder / "missing" / "a.json").string() + ": No such file or directory");
  }
}

TEST(AtomicFile, RefusesFilesBeyondTheLimitAndWhatIsNoFile) {
  const TemporaryFolder folder;
  AtomicFile::write(folder / "ten", "0123456789");
  EXPECT_EQ(AtomicFile::read(folder / "ten", 10), "0123456789");
  EXPECT_THROW(AtomicFile::read(folder / "ten", 9), FileError);
  EXPECT_THROW(AtomicFile::read(folder.path()), FileError);
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_THROW(AtomicFile::read(folder / "pipe"), FileError) << "nobody waits for a writer";
}

TEST(AtomicFile, LeavesTheOldOrTheNewFileWhenKilled) {
  const TemporaryFolder folder;
  const auto path = folder / "state";
  const std::string old(200'000, 'a'), fresh(300'000, 'b');
  for (int round = 0; round < 20; ++round) {
    AtomicFile::write(path, old);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0)
      for (;;) AtomicFile::write(path, fresh);
    std::this_thread::sleep_for(std::chrono::microseconds(150 * round));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    const auto contents = AtomicFile::read(path);
    EXPECT_TRUE(contents == old || contents == fresh);
  }
}

TEST(ByteSize, WritesTheFileSizeStyle) {
  const std::pair<std::int64_t, const char*> cases[] = {{0, "Zero KB"},
                                                        {1, "1 byte"},
                                                        {999, "999 bytes"},
                                                        {1499, "1 KB"},
                                                        {999'499, "999 KB"},
                                                        {999'500, "1 MB"},
                                                        {1'549'999, "1.5 MB"},
                                                        {999'950'000, "1 GB"},
                                                        {2'147'483'648, "2.15 GB"},
                                                        {1'100'000'000'000, "1.1 TB"},
                                                        {9'223'372'036'854'775'807, "9.22 EB"}};
  for (const auto& [bytes, text] : cases) EXPECT_EQ(ByteSize::fileSize(bytes, "en_US"), text);
  EXPECT_EQ(ByteSize::fileSize(1'500'000, "de_DE"), "1,5 MB");
}

}  // namespace
}  // namespace quillant
