#include <atomic>
#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>
#include <set>

#include "Core/AtomicFile.h"
#include "Core/JSON.h"
#include "QuillantCloud/PendingUploadStore.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/FakeService/FakeService.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

using Step = FakeServiceStep;

/// Where the first process dies, and how often both together may have the service do a thing.
struct Death {
  std::string at;              ///< As TEST_DIE has it; empty where the service kills.
  std::optional<Step> during;  ///< While the service takes the request of this step.
  int reservations = 1;
  int videos = 1;
  int thumbs = 1;
  int captions = 1;
  int completions = 1;

  friend std::ostream& operator<<(std::ostream& stream, const Death& death) {
    return stream << (death.during ? rawText(*death.during) : death.at);
  }
};

class KilledUploadTest : public testing::TestWithParam<Death> {
 protected:
  KilledUploadTest() {
    service.emplace(FakeService::Options{.folder = folder / "service", .onRequest = [this](Step step) {
                                           if (GetParam().during == step) killOnce();
                                         }});
    // What is sent when the process dies must not fit what lies between the two in the system's buffers.
    const std::size_t size = GetParam().during ? 24'000'000 : 60'000;
    for (const auto& [path, character] : {std::pair{video, 'v'}, {poster, 'p'}, {captions, 'c'}})
      std::ofstream(path) << std::string(size, character);
  }

  /// Runs the command to its end, or to its death.
  int run(const std::vector<std::string>& words, const std::string& die = {}) {
    std::vector<std::string> command = {QUILLANT_DYING_CLIENT};
    command.insert(command.end(), words.begin(), words.end());
    const ChildProcess::Environment environment = {{"QUILLANT_BASE_URL", service->origin()},
                                                   {"QUILLANT_PROFILE", std::nullopt},
                                                   {"XDG_DATA_HOME", folder / "data"},
                                                   {"TEST_TOKEN", service->signIn()},
                                                   {"TEST_POSTER", poster},
                                                   {"TEST_DIE", die}};
    running = 0;
    ChildProcess child(command, environment);
    running = child.processID();
    running.notify_all();
    output += child.readAll();
    return child.wait();
  }

  /// A process that dies where the case says, and another that goes on.
  void runTwice(const std::vector<std::string>& first) {
    EXPECT_EQ(run(first, GetParam().at), -SIGKILL) << output;
    // As its user would: again from the start only if nothing was told and nothing is on disk.
    const bool hasBegun = !output.empty() || !queue.all().empty();
    EXPECT_EQ(run(hasBegun ? std::vector<std::string>{"resume", "--force"} : first), 0) << output;
  }

  /// Whether the service holds one object of this kind, whatever the upload, with the bytes of `file`.
  bool holdsOnly(const std::string& kind, const std::filesystem::path& file) const {
    std::vector<std::string> found;
    for (const auto& id : service->videoIds())
      if (const auto path = service->objectPath(id, kind); std::filesystem::exists(path))
        found.push_back(AtomicFile::read(path));
    return found.size() == 1 && found[0] == AtomicFile::read(file);
  }

  void expectOneUpload() {
    EXPECT_TRUE(holdsOnly("video", video));
    EXPECT_TRUE(holdsOnly("thumb", poster));
    EXPECT_TRUE(queue.all().empty());
    const std::regex link(R"(http://\S+/v/\S+)");
    const std::set<std::string> links(std::sregex_token_iterator(output.begin(), output.end(), link), {});
    EXPECT_EQ(links.size(), 1u) << output;
    auto counts = service->counts();
    EXPECT_LE(counts[Step::createUpload].performed, GetParam().reservations);
    EXPECT_LE(counts[Step::putVideo].performed, GetParam().videos);
    EXPECT_LE(counts[Step::putThumb].performed, GetParam().thumbs);
    EXPECT_LE(counts[Step::completeUpload].performed, GetParam().completions);
  }

  TemporaryFolder folder;
  std::filesystem::path video = folder / "talk.mp4";
  std::filesystem::path poster = folder / "poster.jpg";
  std::filesystem::path captions = folder / "talk.vtt";
  PendingUploadStore queue{folder / "data/Quillant/pending-uploads-dev"};
  std::atomic<pid_t> running = 0;
  std::atomic<bool> hasKilled = false;
  std::string output;
  std::optional<FakeService> service;

 private:
  void killOnce() {
    if (hasKilled.exchange(true)) return;
    running.wait(0);
    ::kill(running, SIGKILL);
  }
};

TEST_P(KilledUploadTest, IsOneUploadWithOneLinkInTheEnd) {
  runTwice({"upload", video});
  expectOneUpload();
}

INSTANTIATE_TEST_SUITE_P(
    , KilledUploadTest,
    testing::Values(Death{"save 1 before"}, Death{"save 1 after"},
                    // The one hole: a reservation that nobody knows of. No link of it was handed out.
                    Death{.during = Step::createUpload, .reservations = 2},
                    Death{.at = "save 2 before", .reservations = 2}, Death{"save 2 after"},
                    Death{.during = Step::putVideo},
                    // With good URLs and no flag the entry cannot know that the object is there.
                    Death{.at = "save 3 before", .videos = 2}, Death{"save 3 after"},
                    Death{.during = Step::putThumb}, Death{.at = "save 4 before", .thumbs = 2},
                    Death{"save 4 after"}, Death{.during = Step::completeUpload, .completions = 2},
                    Death{.at = "save 5 before", .completions = 2}, Death{"save 5 after"},
                    Death{"removal 1 before"}, Death{"removal 1 after"}));

/// The same of an entry with captions, which is on disk when the first process starts.
class KilledResumeTest : public KilledUploadTest {};

TEST_P(KilledResumeTest, IsOneUploadWithOneLinkInTheEnd) {
  const auto size = static_cast<std::int64_t>(std::filesystem::file_size(video));
  auto entry = PendingUpload::make(video, poster, std::nullopt, size, 2000, 640, 360);
  entry.captionsDeclared = true;
  entry.captionsPath = captions;
  entry.captionsLanguage = "de";
  queue.save(entry);
  runTwice({"resume"});
  expectOneUpload();
  EXPECT_TRUE(holdsOnly("captions", captions));
  EXPECT_LE(service->counts()[Step::putCaptions].performed, GetParam().captions);
  EXPECT_EQ(service->upload(service->videoIds().at(0))["captions_language"], "de");
}

INSTANTIATE_TEST_SUITE_P(, KilledResumeTest,
                         testing::Values(Death{"save 1 after"}, Death{"save 3 after"},
                                         Death{.during = Step::putCaptions},
                                         Death{.at = "save 4 before", .captions = 2}, Death{"save 4 after"}));

}  // namespace
}  // namespace quillant
