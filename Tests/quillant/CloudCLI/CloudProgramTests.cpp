#include <atomic>
#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <regex>
#include <set>

#include "Core/AtomicFile.h"
#include "Core/JSON.h"
#include "Linux/Secrets/SecretFileStore.h"
#include "QuillantCloud/PendingUploadStore.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/FakeService/FakeService.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

using Step = FakeServiceStep;
using Words = std::vector<std::string>;

/// The program itself and a real server, with a home of its own and neither a desktop nor a keyring.
class CloudProgramTest : public testing::Test {
 protected:
  Words command(Words words) const {
    words.insert(words.begin(), QUILLANT_PROGRAM);
    return words;
  }
  ChildProcess::Environment environment(const std::string& die = {}) const {
    return {{"QUILLANT_BASE_URL", service.origin()},
            {"QUILLANT_PROFILE", std::nullopt},
            {"XDG_DATA_HOME", folder / "data"},
            {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (folder / "none").string()},
            {"DISPLAY", std::nullopt},
            {"WAYLAND_DISPLAY", std::nullopt},
            {"LC_ALL", "de_DE.UTF-8"},
            {"LD_PRELOAD", QUILLANT_KILL_AT_ENTRY},
            {"ASAN_OPTIONS", "verify_asan_link_order=0"},
            {"TEST_DIE", die}};
  }
  /// Runs a command to its end, or to its death, and notes what it says.
  int run(const Words& words, const std::string& die = {}) {
    running = 0;
    ChildProcess child(command(words), environment(die));
    running = child.processID();
    running.notify_all();
    said += child.readAll();
    return child.wait();
  }

  TemporaryFolder folder;
  std::filesystem::path video = folder / "talk.mp4";
  std::string said;
  std::atomic<pid_t> running = 0;
  std::function<void(Step)> onRequest = [](Step) {};
  FakeService service{{.folder = folder / "service", .onRequest = [this](Step step) { onRequest(step); }}};
};

TEST_F(CloudProgramTest, GoesTheWholeRoad) {
  const auto token = service.signIn();
  const std::string account = "Signed in as dev@example.com (free) [profile: dev]\n";
  const std::string cancelled = "\nquillant: login failed: sign-in cancelled\n";
  struct Ending {
    std::optional<std::string> typed;  ///< Nothing: the user interrupts instead.
    std::string said;
    int code;
  };
  for (const auto& [typed, expected, code] :
       {Ending{"quillant://auth?code=1\n", "\nquillant: login failed: callback did not contain a token\n",
               70},
        Ending{"quillant://auth?error=access_denied\n", cancelled, 70}, Ending{"\n", cancelled, 70},
        Ending{"", cancelled, 70}, Ending{std::nullopt, cancelled, 70},
        Ending{"  " + FakeService::callback(token) + " \n", account, 0}}) {
    ChildProcess child(command({"login"}), environment());
    EXPECT_TRUE(child.readLineWith("  " + service.origin() + "/auth/google?from=desktop"));
    if (typed) {
      child.write(*typed);
      child.closeInput();
    } else {
      child.signal(SIGINT);
    }
    const auto rest = child.readAll();
    EXPECT_THAT(rest, testing::EndsWith(expected));
    EXPECT_THAT(rest, testing::Not(testing::HasSubstr(token)));
    EXPECT_EQ(child.wait(), code);
  }

  TestRecording{}.write(video);
  std::filesystem::resize_file(video, 1'540'000);
  for (const Words& words :
       {Words{"whoami"}, {"upload", video, "--title", "My talk"}, {"status"}, {"logout"}, {"status"}})
    EXPECT_EQ(run(words), 0) << said;
  const auto id = service.videoIds().at(0);
  const auto link = service.origin() + "/v/" + service.upload(id)["slug"].get<std::string>();
  said = std::regex_replace(said, std::regex("  (video|thumb) [0-9]+%\n"), "");
  EXPECT_EQ(said, account + "🔗 Link (no clipboard here to copy it to; before upload finishes): " + link +
                      "\nuploading video (1,5 MB)…\nuploading thumbnail…\nfinalizing…\ndone — " + link +
                      "\n✅ Upload complete: " + link + "\n" + account + "No pending uploads.\n" +
                      "Signed out [profile: dev]\n" +
                      "Not signed in — run `quillant login`.\nNo pending uploads.\n");
  EXPECT_EQ(AtomicFile::read(service.objectPath(id, "video")), AtomicFile::read(video));
  EXPECT_THAT(AtomicFile::read(service.objectPath(id, "thumb")), testing::StartsWith("\xFF\xD8"));
  EXPECT_EQ(service.upload(id)["title"], "My talk");
  EXPECT_TRUE(std::filesystem::is_empty(folder / "data/Quillant/pending-uploads-dev"));
}

/// Where the first process dies.
struct Death {
  std::string command;                 ///< "upload", or "resume" of an entry with captions.
  std::variant<std::string, Step> at;  ///< As TEST_DIE has it, or while the service takes this request.
  std::optional<Step> repeated;        ///< What both processes together may have done twice.

  friend std::ostream& operator<<(std::ostream& stream, const Death& death) {
    const auto* step = std::get_if<Step>(&death.at);
    return stream << death.command << " " << (step ? rawText(*step) : std::get<std::string>(death.at));
  }
};

class KilledUploadTest : public CloudProgramTest, public testing::WithParamInterface<Death> {
 protected:
  KilledUploadTest() {
    SecretFileStore(folder / "data/Quillant/secrets")
        .store({"com.quillant.desktop", "desktop-token-dev"}, service.signIn());
    onRequest = [this](Step step) {
      if (GetParam().at != decltype(Death::at)(step) || hasKilled.exchange(true)) return;
      running.wait(0);
      ::kill(running, SIGKILL);
    };
  }

  /// Puts an upload with captions into the queue. What is under way when its process dies must not fit what
  /// lies between the two in the system's buffers.
  void addEntry() {
    constexpr std::size_t size = 16'000'000;
    auto entry = PendingUpload::make(video, poster, std::nullopt, size, 2000, 640, 360);
    entry.captionsDeclared = true;
    entry.captionsPath = captions;
    entry.captionsLanguage = "de";
    for (const auto& [path, character] : {std::pair{video, 'v'}, {poster, 'p'}, {captions, 'c'}})
      std::ofstream(path) << std::string(size, character);
    queue.save(entry);
  }

  /// The uploads of which the service holds an object of this kind.
  Words holders(const std::string& kind) const {
    auto ids = service.videoIds();
    std::erase_if(ids,
                  [&](const auto& id) { return !std::filesystem::exists(service.objectPath(id, kind)); });
    return ids;
  }

  std::filesystem::path poster = folder / "poster.jpg";
  std::filesystem::path captions = folder / "talk.vtt";
  PendingUploadStore queue{folder / "data/Quillant/pending-uploads-dev"};
  std::atomic<bool> hasKilled = false;
};

TEST_P(KilledUploadTest, IsOneUploadWithOneLinkInTheEnd) {
  const bool isResume = GetParam().command == "resume";
  const auto first = isResume ? Words{"resume"} : Words{"upload", video};
  isResume ? addEntry() : TestRecording{}.write(video);
  const auto* die = std::get_if<std::string>(&GetParam().at);
  EXPECT_EQ(run(first, die ? *die : ""), -SIGKILL) << said;
  // As its user would: again from the start only if nothing was told and nothing is on disk.
  const bool hasBegun = isResume || !said.empty() || !queue.all().empty();
  EXPECT_EQ(run(hasBegun ? Words{"resume", "--force"} : first), 0) << said;

  EXPECT_TRUE(queue.all().empty());
  const auto ids = holders("video");
  ASSERT_EQ(ids.size(), 1u);
  EXPECT_EQ(holders("thumb"), ids);
  EXPECT_EQ(AtomicFile::read(service.objectPath(ids[0], "video")), AtomicFile::read(video));
  if (isResume) {
    EXPECT_EQ(holders("captions"), ids);
    EXPECT_EQ(AtomicFile::read(service.objectPath(ids[0], "thumb")), AtomicFile::read(poster));
    EXPECT_EQ(AtomicFile::read(service.objectPath(ids[0], "captions")), AtomicFile::read(captions));
  }
  const std::regex link(R"(http://\S+/v/(\S+))");
  const std::set<std::string> slugs(std::sregex_token_iterator(said.begin(), said.end(), link, 1), {});
  for (const auto& slug : slugs) EXPECT_EQ(slug, service.upload(ids[0])["slug"]);
  EXPECT_TRUE(isResume || slugs.size() == 1) << said;
  for (const auto& [step, count] : service.counts())
    EXPECT_LE(count.performed, step == GetParam().repeated ? 2 : 1) << rawText(step);
}

INSTANTIATE_TEST_SUITE_P(
    , KilledUploadTest,
    testing::Values(Death{"upload", "save 1 before"}, Death{"upload", "save 1 after"},
                    // The one hole: a reservation that nobody knows of. No link of it was handed out.
                    Death{"upload", Step::createUpload, Step::createUpload},
                    Death{"upload", "save 2 before", Step::createUpload}, Death{"upload", "save 2 after"},
                    Death{"resume", Step::putVideo},
                    // With good URLs and no flag the entry cannot know that the object is there.
                    Death{"resume", "save 2 before", Step::putVideo}, Death{"resume", "save 2 after"},
                    Death{"resume", Step::putThumb}, Death{"resume", "save 3 before", Step::putThumb},
                    Death{"resume", "save 3 after"}, Death{"resume", Step::putCaptions},
                    Death{"resume", "save 4 before", Step::putCaptions}, Death{"resume", "save 4 after"},
                    Death{"resume", Step::completeUpload, Step::completeUpload},
                    Death{"resume", "save 5 before", Step::completeUpload}, Death{"resume", "save 5 after"},
                    Death{"resume", "removal 1 before"}, Death{"upload", "removal 1 after"}));

}  // namespace
}  // namespace quillant
