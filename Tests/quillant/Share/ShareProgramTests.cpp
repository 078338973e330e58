#include <algorithm>
#include <chrono>
#include <csignal>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

#include "Core/AtomicFile.h"
#include "Core/SHA256.h"
#include "Core/UUID.h"
#include "Editor/Project/EditFingerprint.h"
#include "Editor/Project/ProjectLibrary.h"
#include "Tests/Support/Eventually.h"
#include "Tests/quillant/CloudCLI/CloudProgramFixture.h"
#include "Tests/quillant/SpokenVideo.h"

namespace quillant {
namespace {

using Step = FakeServiceStep;

constexpr const char* share = "share {v} --resolution source";

/// A recording that is shared by the program itself.
class ShareProgramTest : public CloudProgramTest {
 protected:
  ShareProgramTest() { signIn(); }

  std::string projectId() const { return runBlocking(library.projects()).at(0).id; }
  /// As another program does it.
  void edit(double padding) {
    auto stored = runBlocking(library.project(projectId()));
    auto state = stored.document.editorState.value_or(ProjectEditorState());
    if (!state.video) state.video.emplace();
    state.video->padding = padding;
    if (hasCaptions) {
      const TimelineCaptionWord word{.start = 0.1, .end = 0.6, .text = "hello"};
      auto& captions = state.timelineEdits.captions.emplace();
      captions.on = true;
      captions.style = padding < 50 ? TimelineCaptionStyle::box : TimelineCaptionStyle::outline;
      captions.setTranscript({.source = "primary", .language = "en-US", .words = {word}});
    }
    runBlocking(library.writeEditorState(stored.document.id, std::move(state), stored.revision));
  }
  /// The first word of the project's status: "safe", "stale", "unfinished"; "quillant:" if there is no link.
  std::string status() {
    const auto said = run("share --status").output;
    const auto words = Text::words(said);
    return std::string(words.at(words.at(0) == "quillant:" ? 0 : 1));
  }
  /// By which the bytes of two videos are compared.
  static std::string identity(const std::string& bytes) { return SHA256::hexadecimal(SHA256::of(bytes)); }
  /// What the project's edit makes, which is the same for all tests.
  std::string rendered() {
    static std::map<std::string, std::string> known;
    const auto edit = runBlocking(library.project(projectId())).document.editorState.value();
    auto& made = known[identity(contents(video)) + editFingerprint(edit.timelineEdits, edit.video.value())];
    if (made.empty()) made = renderedNow();
    return made;
  }
  std::string renderedNow() {
    const auto file = folder / "expected.mp4";
    const auto words = " --captions none --resolution source --output ";
    EXPECT_EQ(run("export " + projectId() + words + file.string()).exitCode, 0);
    return identity(contents(file));
  }
  /// What lies behind the only link that was handed out.
  std::string object(const std::string& kind) const {
    for (const auto& id : service.videoIds())
      if (contents(clipboard).starts_with(link(id) + "|") && service.upload(id)["status"] == "ready")
        return contents(service.objectPath(id, kind));
    return "";
  }
  void expectShown() {
    EXPECT_EQ(identity(object("video")), rendered());
    const auto edit = runBlocking(library.project(projectId())).document.editorState.value();
    if (hasCaptions) {
      EXPECT_THAT(object("captions"),
                  testing::HasSubstr("NOTE quillant-style " +
                                     std::string(rawText(edit.timelineEdits.captions->style))));
    } else {
      EXPECT_EQ(object("captions"), "");
    }
  }
  std::set<std::string> copiedLinks() const {
    std::set<std::string> links;
    std::stringstream written(contents(clipboard));
    for (std::string one; std::getline(written, one, '|');) links.insert(one);
    return links;
  }
  int performed(Step step) const {
    const auto counts = service.counts();
    const auto count = counts.find(step);
    return count == counts.end() ? 0 : count->second.performed;
  }

  ProjectLibrary library{data / "Quillant/projects-dev"};
  bool hasCaptions = false;  ///< Of the edits from now on.
};

TEST_F(ShareProgramTest, HandsOutTheLinkThenRendersThenSendsAndSaysWhatTheLinkShows) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  const auto log = [&](const char* what) {
    std::cout << "[ SHARE ] " << std::chrono::duration<double>(Clock::now() - start).count() << " s: " << what
              << "\n";
  };
  ChildProcess first({QUILLANT_PROGRAM, "share", video, "--resolution", "source", "--title", "Talk"},
                     environment());
  ASSERT_TRUE(first.readLineWith("🔗 Link copied to clipboard: "));
  log("the link is on the clipboard");
  EXPECT_EQ(copiedLinks().size(), 1U);
  EXPECT_EQ(performed(Step::putVideo), 0);
  ASSERT_TRUE(first.readLineWith("rendering…"));
  log("rendering begins");
  ASSERT_TRUE(first.readLineWith("uploading video"));
  log("the video is rendered");
  ASSERT_TRUE(first.readLineWith("✅ Safe to send: the link shows the project as it is: "));
  log("it is safe to send");
  EXPECT_EQ(first.wait(), 0);
  const auto id = service.videoIds().at(0);
  const auto declared = service.upload(id);
  EXPECT_EQ(declared["title"], "Talk");
  EXPECT_EQ(declared["width"], 192);
  EXPECT_EQ(declared["duration_ms"], 1000);
  expectShown();
  EXPECT_TRUE(std::filesystem::is_empty(queue.directory)) << "what was made for the upload went with it";
  const auto poster = identity(contents(service.objectPath(id, "thumb")));

  const auto before = performed(Step::createUpload) + performed(Step::refreshPresign);
  expect(share, 0,
         {"🔗 Link copied to clipboard: {l}", "✅ Nothing to do: the link shows the project as it is: {l}"});
  edit(70);
  EXPECT_EQ(status(), "stale");
  edit(18);
  EXPECT_EQ(status(), "safe") << "an edit that is undone";
  EXPECT_EQ(performed(Step::createUpload) + performed(Step::refreshPresign), before);

  // What is edited is sent to the same link, with what belongs to it.
  edit(70);
  EXPECT_EQ(run(share).exitCode, 0);
  expectShown();
  EXPECT_NE(identity(contents(service.objectPath(id, "thumb"))), poster);
  EXPECT_EQ(copiedLinks().size(), 1U);
  EXPECT_EQ(service.videoIds().size(), 1U);
}

TEST_F(ShareProgramTest, NoticesAnEditDuringTheUpload) {
  watch([&](Step step) {
    if (step == Step::putVideo) edit(70);
  });
  const auto result = run(share);
  EXPECT_EQ(result.exitCode, 70);
  EXPECT_THAT(result.errors,
              testing::HasSubstr("the project was edited meanwhile; the link shows it as it was: "));
  EXPECT_EQ(status(), "stale");
  watch({});
  EXPECT_EQ(run(share).exitCode, 0);
  expectShown();
}

TEST_F(ShareProgramTest, SendsWhatIsMissingAndNothingElse) {
  service.fail({.step = Step::completeUpload, .status = 500});
  EXPECT_EQ(run(share).exitCode, 70);
  EXPECT_EQ(status(), "unfinished");
  EXPECT_EQ(run(share).exitCode, 0);
  for (const auto step : {Step::createUpload, Step::putVideo, Step::putThumb, Step::completeUpload})
    EXPECT_EQ(performed(step), 1) << rawText(step);
  EXPECT_EQ(status(), "safe");
  expect(share + std::string(" --title Other"), 70, {},
         {"the link was made with the title “talk” and keeps it; leave --title out"});

  // A lapsed lease: what the service holds is of the edit before.
  edit(70);
  service.fail({.step = Step::putVideo, .status = 403, .times = 1});
  EXPECT_EQ(run(share).exitCode, 70);
  EXPECT_EQ(status(), "unfinished");
  EXPECT_EQ(run("resume --force").exitCode, 0);
  EXPECT_EQ(status(), "safe") << "a run of the queue tells the project";
  expectShown();
  EXPECT_EQ(copiedLinks().size(), 1U);
}

TEST_F(ShareProgramTest, FindsItsUploadByItsLinkAndLeavesThatToAnotherOne) {
  service.fail({.step = Step::completeUpload, .status = 500});
  EXPECT_EQ(run(share).exitCode, 70);
  // As another version has named it; and in its place one to a link that the project has no more.
  auto entry = queue.load(projectId()).value();
  std::filesystem::remove(queue.directory / (entry.id + ".json"));
  entry.id = UUID::random().text();
  queue.save(entry);
  auto other = entry;
  other.id = projectId();
  other.slug = "another";
  other.videoPath.clear();
  queue.save(other);
  EXPECT_THAT(run("share --status").output, testing::HasSubstr(" — server error 500"));
  edit(70);
  EXPECT_EQ(run(share).exitCode, 0);
  expectShown();
  edit(18);
  EXPECT_EQ(run(share).exitCode, 0) << "now there is none to find";
  expectShown();
  EXPECT_EQ(performed(Step::createUpload), 1);
  EXPECT_EQ(queue.load(projectId()), other);
  EXPECT_EQ(queue.all().size(), 1U);
}

TEST_F(ShareProgramTest, HandsOutTheLinkBeforeItListensAndSendsCaptionsWithTheirVideo) {
  writeSpokenVideo(video);
  locale = "en_US.UTF-8";
  const std::vector<std::string> words{QUILLANT_PROGRAM, "share",      video,    "--resolution",
                                       "source",         "--captions", "outline"};
  for (const bool isKilled : {true, false}) {
    ChildProcess program(words, environment());
    ASSERT_TRUE(program.readLineWith("🔗 Link copied to clipboard: "));
    ASSERT_TRUE(program.readLineWith("making captions"));
    EXPECT_EQ(copiedLinks().size(), 1U);
    if (isKilled) program.signal(SIGKILL);
    EXPECT_EQ(program.wait(), isKilled ? -SIGKILL : 0);
    EXPECT_EQ(status(), isKilled ? "unfinished" : "safe");
  }
  hasCaptions = true;
  expectShown();
  EXPECT_THAT(object("captions"), testing::HasSubstr(">fox\n"));
  const auto id = service.videoIds().at(0);
  EXPECT_EQ(service.upload(id)["captions_language"], "en-US");
  EXPECT_EQ(run("share {v} --resolution source --captions box").exitCode, 0);
  expectShown();
  EXPECT_EQ(run("share {v} --resolution source --captions none").exitCode, 0);
  hasCaptions = false;
  expectShown();
  EXPECT_EQ(performed(Step::putVideo), 3);
}

TEST_F(ShareProgramTest, SaysWhatStopsIt) {
  const std::string kept =
      "The full recording is saved on your computer; only the shareable copy is capped.\n";
  const auto refuse = [&](FakeServiceFault fault, int code, const std::string& error) {
    service.fail(std::move(fault));
    const auto result = run(share);
    EXPECT_EQ(result.exitCode, code);
    EXPECT_THAT(result.errors, testing::StartsWith("quillant: " + error));
    service.clearFaults();
  };
  refuse({.step = Step::createUpload, .status = 403, .message = "Full.", .code = "quota_exceeded"}, 70,
         "server error 403: Full. code=quota_exceeded\n");
  refuse({.step = Step::createUpload, .status = 507}, 70, "You're out of free cloud storage. " + kept);
  refuse({.step = Step::createUpload, .status = 401}, 77,
         "authentication expired — run `quillant login` again\n");
  EXPECT_EQ(status(), "quillant:");
  refuse({.step = Step::putVideo, .status = 403, .code = "storage_exceeded"}, 70,
         "You're out of free cloud storage. " + kept + "quillant: the link stays the same");

  // Signed out in the middle, and in again.
  const auto accounts = contents(folder / "service/accounts.json");
  watch([&](Step step) {
    if (step == Step::putThumb) service.revoke(service.signIn());
  });
  EXPECT_EQ(run(share).exitCode, 77);
  watch({});
  EXPECT_THAT(run("share --status").output, testing::HasSubstr(" — waiting for sign-in"));
  AtomicFile::write(folder / "service/accounts.json", accounts);
  EXPECT_EQ(run(share).exitCode, 0);
  EXPECT_EQ(performed(Step::putVideo), 1);
  expectShown();

  // The account's own limit, of another project.
  auto limited = JSON::parse(accounts);
  limited.begin().value()["limits"]["maxVideos"] = 1;
  AtomicFile::write(folder / "service/accounts.json", JSON::pretty(limited));
  std::filesystem::copy_file(video, folder / "other.mp4");
  const auto over = run("share " + (folder / "other.mp4").string());
  EXPECT_EQ(over.exitCode, 70);
  EXPECT_EQ(over.errors, "quillant: You're at your free plan's 1-video cloud limit. " + kept);
  EXPECT_EQ(service.videoIds().size(), 1U);
}

TEST_F(ShareProgramTest, IsOneShareHoweverManyProgramsAreAtIt) {
  // Both make the project of the video, the link, and the rendering; one does.
  QuillantRun one({"share", video, "--resolution", "source"}, environment());
  QuillantRun other({"share", video, "--resolution", "source"}, environment());
  const int codes[] = {one.wait().exitCode, other.wait().exitCode};
  EXPECT_TRUE(codes[0] == 0 || codes[1] == 0);
  EXPECT_EQ(runBlocking(library.projects()).size(), 1U);
  EXPECT_EQ(performed(Step::createUpload), 1);
  EXPECT_EQ(performed(Step::putVideo), 1);
  EXPECT_EQ(copiedLinks().size(), 1U);

  edit(70);
  std::atomic<bool> isStopped = false;
  running = 0;
  watch([&](Step step) {
    if (step != Step::putVideo || isStopped) return;
    running.wait(0);
    ::kill(running, SIGSTOP);
    isStopped = true;
  });
  QuillantRun first({"share", video, "--resolution", "source"}, environment());
  const auto process = std::to_string(first.processID());
  running = first.processID();
  running.notify_all();
  EXPECT_TRUE(eventually([&] { return isStopped.load(); }));
  EXPECT_THAT(run(share).errors, testing::HasSubstr("the upload is under way in process " + process));
  EXPECT_THAT(run("resume --force").output, testing::HasSubstr(" is under way in process " + process));
  EXPECT_THAT(run("share --status").output, testing::HasSubstr(" — under way in process " + process));
  ::kill(first.processID(), SIGCONT);
  EXPECT_EQ(first.wait().exitCode, 0);
  EXPECT_EQ(performed(Step::putVideo), 2);
  expectShown();
}

TEST_F(ShareProgramTest, SharesABundleOnce) {
  EXPECT_EQ(run("import {v}").exitCode, 0);
  const auto bundle = folder / "Talk.quillant";
  runBlocking(library.exportProject(projectId(), bundle));
  for (int time = 0; time < 2; ++time)
    EXPECT_EQ(run("share " + bundle.string() + " --resolution source --title Bundled").exitCode, 0);
  EXPECT_EQ(performed(Step::putVideo), 1);
  EXPECT_EQ(service.upload(service.videoIds().at(0))["title"], "Bundled");
  const auto titled = [](const auto& project) { return project.title == "Bundled"; };
  EXPECT_EQ(std::ranges::count_if(runBlocking(library.projects()), titled), 1);
  EXPECT_EQ(copiedLinks().size(), 1U);
}

/// Where the program dies that shares a project, for the first time or after an edit.
struct Death {
  std::variant<std::string, Step> at;  ///< As TEST_DIE has it, or while the service takes this request.
  bool isReshare = false;
  bool hasCaptions = false;

  friend std::ostream& operator<<(std::ostream& stream, const Death& death) {
    const auto* step = std::get_if<Step>(&death.at);
    return stream << (death.hasCaptions ? "captions " : "") << (death.isReshare ? "reshare " : "")
                  << (step ? rawText(*step) : std::get<std::string>(death.at));
  }
};

class KilledShareTest : public ShareProgramTest, public testing::WithParamInterface<Death> {
 protected:
  void die() {
    hasCaptions = GetParam().hasCaptions;
    if (hasCaptions) {
      EXPECT_EQ(run("import {v}").exitCode, 0);
      edit(18);
    }
    if (GetParam().isReshare) {
      EXPECT_EQ(run(share).exitCode, 0);
      edit(70);
    }
    std::atomic<bool> hasKilled = false;
    watch([&](Step step) {
      if (GetParam().at != decltype(Death::at)(step) || hasKilled.exchange(true)) return;
      running.wait(0);
      ::kill(running, SIGKILL);
    });
    const auto* place = std::get_if<std::string>(&GetParam().at);
    EXPECT_EQ(run(share, place ? *place : "").exitCode, -SIGKILL);
    watch({});
  }
  /// Whatever has happened: what is called safe is so.
  void expectTruth() {
    if (runBlocking(library.projects()).empty()) return;
    if (status() == "safe") {
      expectShown();
    }
    EXPECT_LE(copiedLinks().size(), 1U);
  }
  void expectSharedInTheEnd() {
    EXPECT_EQ(run(share).exitCode, 0);
    expectShown();
    EXPECT_EQ(copiedLinks().size(), 1U);
    queue.removeLitter();
    EXPECT_TRUE(std::filesystem::is_empty(queue.directory)) << "what the kill has left";
  }
};

TEST_P(KilledShareTest, HasOneLinkAndTheLastEditBehindItOnceItSaysSafe) {
  die();
  expectTruth();
  // The edit that was live before the reshare, or one that was never sent.
  if (!runBlocking(library.projects()).empty()) edit(GetParam().isReshare ? 18 : 70);
  expectTruth();
  run("resume --force");
  expectTruth();
  expectSharedInTheEnd();
}

TEST_P(KilledShareTest, GoesOnWhenItIsRunAgain) {
  die();
  expectSharedInTheEnd();
}

std::vector<Death> deaths() {
  std::vector<Death> all;
  const auto add = [&](bool isReshare, std::initializer_list<const char*> places,
                       std::initializer_list<Step> steps, bool hasCaptions = false) {
    for (const std::string place : places)
      for (const auto* side : {" before", " after"}) all.push_back({place + side, isReshare, hasCaptions});
    for (const auto step : steps) all.push_back({step, isReshare, hasCaptions});
  };
  // The project is made and its edit kept; the link; what it is to show, and that in the queue; then each
  // object as it is sent; the end.
  add(false,
      {"record 1", "record 2", "save 1", "record 3", "share 1", "poster 1", "save 2", "save 3", "save 4",
       "save 5", "removal 1", "record 4"},
      {Step::createUpload, Step::putVideo, Step::putThumb, Step::completeUpload});
  add(true,
      {"record 1", "share 1", "poster 1", "save 1", "save 2", "save 3", "save 4", "save 5", "removal 1",
       "record 2"},
      {Step::refreshPresign, Step::putVideo, Step::putThumb, Step::completeUpload});
  add(false, {"captions 1"}, {Step::putCaptions}, true);
  add(true, {"captions 1", "save 5"}, {Step::putCaptions}, true);
  return all;
}

INSTANTIATE_TEST_SUITE_P(, KilledShareTest, testing::ValuesIn(deaths()));

}  // namespace
}  // namespace quillant
