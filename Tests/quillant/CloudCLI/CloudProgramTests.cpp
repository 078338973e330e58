#include <csignal>

#include "Tests/Support/Eventually.h"
#include "Tests/quillant/CloudCLI/CloudProgramFixture.h"

namespace quillant {
namespace {

using Step = FakeServiceStep;
using Lines = std::vector<std::string>;

TEST_F(CloudProgramTest, GoesTheWholeRoad) {
  const auto token = service.signIn();
  const std::string cancelled = "\nquillant: login failed: sign-in cancelled\n";
  expect("login", 70, {}, {"login failed: could not present sign-in window: no browser could be opened"});
  hasDesktop = false;
  struct Ending {
    std::optional<std::string> typed;  ///< Nothing: the user interrupts instead.
    std::string said;
    int code;
  };
  const auto callback = "  " + FakeService::callback(token) + " \n";
  service.fail({.step = Step::me, .status = 503});
  for (const auto& [typed, expected, code] :
       {Ending{callback, "\nquillant: login failed: server error 503\n", 70},
        Ending{"quillant://auth?code=1\n", "\nquillant: login failed: callback did not contain a token\n",
               70},
        Ending{"quillant://auth?error=access_denied\n", cancelled, 70}, Ending{"\n", cancelled, 70},
        Ending{"", cancelled, 70}, Ending{std::nullopt, cancelled, 70},
        Ending{callback, account + "\n", 0}}) {
    ChildProcess child({QUILLANT_PROGRAM, "login"}, environment());
    EXPECT_TRUE(child.readLineWith("  " + service.origin() + "/auth/google?from=desktop"));
    typed ? child.write(*typed) : child.signal(SIGINT);
    child.closeInput();
    const auto said = child.readAll();
    EXPECT_THAT(said, testing::AllOf(testing::EndsWith(expected), testing::Not(testing::HasSubstr(token))));
    EXPECT_EQ(child.wait(), code);
    EXPECT_EQ(secrets.load(secretName), token)
        << "stored before it is confirmed, and kept by those that fail";
  }
  expect("whoami", 0, {account});
  expect("resume", 0, {"No pending uploads."});
  expect("upload {v} --title Talk", 0,
         {"🔗 Link (no clipboard here to copy it to; before upload finishes): {l}", sending, posting,
          "finalizing…", "done — {l}", "✅ Upload complete: {l}"});
  expect("status", 0, {account, "No pending uploads."});
  expect("logout", 0, {"Signed out [profile: dev]"});
  expect("status", 0, {"Not signed in — run `quillant login`.", "No pending uploads."});
  const auto id = service.videoIds().at(0);
  EXPECT_TRUE(contents(service.objectPath(id, "video")) == contents(video));
  EXPECT_THAT(contents(service.objectPath(id, "thumb")), testing::StartsWith("\xFF\xD8"));
  EXPECT_EQ(service.upload(id)["title"], "Talk");
  EXPECT_TRUE(std::filesystem::is_empty(queue.directory));
}

TEST_F(CloudProgramTest, SaysWhatItCannotActOn) {
  const std::tuple<std::string, int, std::string> cases[] = {
      {"login --now", 64, "unknown login option --now"},
      {"upload", 64, "upload requires a <file.mp4>"},
      {"upload --title", 64, "--title requires a value"},
      {"upload --tilte x", 64, "unknown upload option --tilte"},
      {"upload a.mp4 b.mp4", 64, "unknown upload option b.mp4"},
      {"upload /gone.mp4", 70, "no such file: /gone.mp4"},
      {"upload /tmp", 70, "not a file: /tmp"},
      {"upload {v}", 77, "not signed in — run `quillant login`"},
      {"resume", 77, "cannot resume — not signed in."},
      {"resume --resume", 64, "unknown resume option --resume"},
      {"status all", 64, "unknown status option all"},
      {"whoami --profile", 64, "--profile requires a value"},
      {"whoami --profile Work!", 77, "not signed in [profile: work] — run `quillant login`"},
      {"whoami --profile a --profile b", 77, "not signed in [profile: b] — run `quillant login`"},
  };
  for (const auto& [command, code, error] : cases) expect(command, code, {}, {error});
}

TEST_F(CloudProgramTest, HandsOutTheLinkFirstAndKeepsWhatCouldNotBeSent) {
  signIn();
  std::atomic<bool> linkWasFirst = false;
  watch([&](Step step) {
    if (step == Step::putVideo) linkWasFirst = contents(clipboard) == link(service.videoIds().at(0)) + "|";
  });
  service.fail({.step = Step::putVideo, .status = 403});
  expect("upload {v}", 70, {copied, sending, "  video attempt 1 failed: PUT failed (403): {} "},
         {"upload failed: PUT failed (403): {}", "recording is SAFE on disk and the upload is queued.",
          "  file: {v}", "  resume with: quillant status --resume"});
  EXPECT_TRUE(linkWasFirst);
  expect("status", 0,
         {account, "1 upload(s) pending:", "  {i}  talk.mp4  waiting  {l}",
          "      last error: PUT failed (403): {}", footer});
  expect("resume", 0,
         {"Nothing eligible yet — 1 upload(s) backing off. Force with `quillant resume --force`."});
  service.fail({.step = Step::completeUpload, .status = 500});
  expect("resume --force", 70,
         {sending, posting, "finalizing…",
          "upload {i} failed (attempt 2); will retry in ~60s — recording safe at {v}"},
         {"1 upload(s) still pending (will retry with backoff). Recordings are safe on disk."});
  service.fail({.step = Step::completeUpload,
                .failure = FakeServiceFailure::body,
                .status = 200,
                .body = R"({"video_id":"v","slug":"s","status":"processing"})"});
  expect("resume --force", 70, {"finalizing…"},
         {"1 upload(s) still pending (will retry with backoff). Recordings are safe on disk."});
  expect("status --resume --force", 0, {"finalizing…", "done — {l}", account, "No pending uploads."});
}

TEST_F(CloudProgramTest, WaitsForSignInWhereTheTokenIsRefused) {
  signIn();
  service.fail({.step = Step::me, .status = 503});
  expect("status", 0, {"Signed in (could not reach server: server error 503)", "No pending uploads."});
  service.fail({.step = Step::completeUpload, .status = 401});
  expect("upload {v}", 77, {copied, sending, posting, "finalizing…"},
         {"session expired mid-upload — run `quillant login`, then `quillant status --resume`.",
          "recording is safe: {v}"});
  std::filesystem::remove_all(queue.directory);
  service.revoke(service.signIn());
  expect("upload {v}", 77, {}, {"session expired — run `quillant login` again. Recording is safe: {v}"});
  expect("whoami", 77, {}, {"session expired [profile: dev] — run `quillant login` again"});
  expect("status", 0,
         {"Signed in: session EXPIRED — run `quillant login` again.",
          "1 upload(s) pending:", "  {i}  talk.mp4  waiting for sign-in",
          "      last error: authentication expired — run `quillant login` again", footer});
  expect(
      "resume", 77, {"upload {i} is waiting for sign-in — recording is safe at {v}"},
      {"uploads are waiting for sign-in — run `quillant login`, then `quillant resume`. Recordings are safe "
       "on disk."});
}

TEST_F(CloudProgramTest, SendsNothingThatItCannotKeepAndLetsNoServerSteerTheTerminal) {
  signIn();
  const auto notes = (folder / "xclip").string();
  expect("upload " + notes, 70, {},
         {"could not read video: the file is no video or sound that can be read: Invalid data found when "
          "processing input"});
  std::ofstream(queue.directory) << "in the folder's place";
  const auto why = "could not use the private folder " + queue.directory.string() + ": Not a directory";
  expect("upload {v}", 70, {}, {"could not persist upload record: " + why});
  EXPECT_TRUE(service.counts().empty());

  std::filesystem::remove(queue.directory);
  service.fail({.step = Step::createUpload, .status = 403, .message = "\x1b[2J\xC2\x9Bno", .code = "quota"});
  expect("upload {v}", 70, {},
         {"could not start upload: server error 403: �[2J�no code=quota",
          "recording is safe on disk and queued: {v}"});
}

TEST_F(CloudProgramTest, LeavesAnUploadToTheProgramThatHasIt) {
  signIn();
  int uploads = 0;
  for (const auto step : {Step::createUpload, Step::putVideo}) {
    std::atomic<bool> isStopped = false;
    running = 0;
    watch([&](Step at) {
      if (at != step || isStopped) return;
      running.wait(0);
      ::kill(running, SIGSTOP);
      isStopped = true;
    });
    QuillantRun first({"upload", video}, environment());
    const auto process = first.processID();
    running = process;
    running.notify_all();
    EXPECT_TRUE(eventually([&] { return isStopped.load(); }));
    expect("resume --force", 0, {"upload {i} is under way in process " + std::to_string(process)});
    ::kill(process, SIGCONT);
    EXPECT_EQ(first.wait().exitCode, 0);
    ++uploads;
    EXPECT_EQ(service.counts().at(Step::createUpload).performed, uploads);
    EXPECT_EQ(service.counts().at(Step::putVideo).requests, uploads);
  }
}

TEST_F(CloudProgramTest, SendsTheFileThatWasNamed) {
  signIn();
  std::filesystem::create_directories(folder / "other/deep");
  std::filesystem::create_directory_symlink(folder / "other/deep", folder / "link");
  const auto named = folder / "other" / video.filename();
  TestRecording{.frames = 3}.write(named);
  EXPECT_EQ(run("upload " + (folder / "link/.." / video.filename()).string()).exitCode, 0);
  EXPECT_TRUE(contents(service.objectPath(service.videoIds().at(0), "video")) == contents(named));
}

/// Where the first process dies.
struct Death {
  std::string command;                 ///< "upload {v}", or "resume" of an entry with captions.
  std::variant<std::string, Step> at;  ///< As TEST_DIE has it, or while the service takes this request.
  std::optional<Step> repeated;        ///< What both processes together may have done twice.

  friend std::ostream& operator<<(std::ostream& stream, const Death& death) {
    const auto* step = std::get_if<Step>(&death.at);
    return stream << death.command << " " << (step ? rawText(*step) : std::get<std::string>(death.at));
  }
};

class KilledUploadTest : public CloudProgramTest, public testing::WithParamInterface<Death> {
 protected:
  /// Puts an upload with captions into the queue. What is under way when its process dies must not fit what
  /// lies between the two in the system's buffers.
  void addEntry() {
    const std::int64_t size = std::holds_alternative<Step>(GetParam().at) ? 16'000'000 : 60'000;
    auto entry = PendingUpload::make(video, folder / "thumb", std::nullopt, size, 2000, 640, 360);
    entry.captionsDeclared = true;
    entry.captionsPath = folder / "captions";
    entry.captionsLanguage = "de";
    for (const auto& path : {video, folder / "thumb", folder / "captions"})
      std::ofstream(path) << std::string(static_cast<std::size_t>(size), path.string().back());
    queue.save(entry);
  }
  void killOnce(Step step) {
    if (GetParam().at != decltype(Death::at)(step) || hasKilled.exchange(true)) return;
    running.wait(0);
    ::kill(running, SIGKILL);
  }

  std::atomic<bool> hasKilled = false;
};

TEST_P(KilledUploadTest, IsOneUploadWithOneLinkInTheEnd) {
  signIn();
  watch([this](Step step) { killOnce(step); });
  const bool isResume = GetParam().command == "resume";
  if (isResume) addEntry();
  const auto* die = std::get_if<std::string>(&GetParam().at);
  const auto first = run(GetParam().command, die ? *die : "");
  EXPECT_EQ(first.exitCode, -SIGKILL) << first.output;
  // As its user would: again from the start only if nothing was told and nothing is on disk.
  const bool hasBegun = !first.output.empty() || !queue.all().empty();
  EXPECT_EQ(run(hasBegun ? "resume --force" : GetParam().command).exitCode, 0);

  EXPECT_TRUE(std::filesystem::is_empty(queue.directory));
  Lines live;
  for (const auto& id : service.videoIds())
    if (service.upload(id)["status"] == "ready") live.push_back(id);
  ASSERT_EQ(live.size(), 1u);
  EXPECT_TRUE(contents(service.objectPath(live[0], "video")) == contents(video));
  for (const auto* kind : {"thumb", "captions"})
    if (isResume) {
      EXPECT_TRUE(contents(service.objectPath(live[0], kind)) == contents(folder / kind)) << kind;
    }
  const auto handedOut = contents(clipboard);
  EXPECT_EQ(handedOut, isResume || handedOut.empty() ? "" : link(live[0]) + "|");
  for (const auto& [step, count] : service.counts())
    EXPECT_LE(count.performed, step == GetParam().repeated ? 2 : 1) << rawText(step);
}

INSTANTIATE_TEST_SUITE_P(
    , KilledUploadTest,
    testing::Values(Death{"upload {v}", "save 1 before"}, Death{"upload {v}", "save 1 after"},
                    // The one hole: a reservation that nobody knows of. No link of it was handed out.
                    Death{"upload {v}", Step::createUpload, Step::createUpload},
                    Death{"upload {v}", "save 2 before", Step::createUpload},
                    Death{"upload {v}", "save 2 after"}, Death{"resume", Step::putVideo},
                    // With good URLs and no flag the entry cannot know that the object is there.
                    Death{"resume", "save 2 before", Step::putVideo}, Death{"resume", "save 2 after"},
                    Death{"resume", Step::putThumb}, Death{"resume", "save 3 before", Step::putThumb},
                    Death{"resume", "save 3 after"}, Death{"resume", Step::putCaptions},
                    Death{"resume", "save 4 before", Step::putCaptions}, Death{"resume", "save 4 after"},
                    Death{"resume", Step::completeUpload, Step::completeUpload},
                    Death{"resume", "save 5 before", Step::completeUpload}, Death{"resume", "save 5 after"},
                    Death{"resume", "removal 1 before"}, Death{"upload {v}", "removal 1 after"}));

}  // namespace
}  // namespace quillant
