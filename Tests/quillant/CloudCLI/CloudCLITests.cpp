#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <regex>

#include "Core/JSON.h"
#include "Core/Text.h"
#include "Linux/Http/CurlHttpClient.h"
#include "QuillantCloud/PendingUploadStore.h"
#include "QuillantCloud/QuillantConfig.h"
#include "QuillantCloud/TokenStore.h"
#include "Tests/QuillantCloud/CloudFakes.h"
#include "Tests/Support/FakeService/FakeService.h"
#include "Tests/Support/TemporaryFolder.h"
#include "quillant/CloudCLI.h"
#include "quillant/DesktopSignIn.h"
#include "quillant/UploadLines.h"

namespace quillant {
namespace {

using Lines = std::vector<std::string>;
using Step = FakeServiceStep;
using Kind = WebAuthenticationError::Kind;

class NoVideo : public Error {
 public:
  NoVideo() : Error("no video in it") {}
};

/// Comes back with a callback or fails; or waits until it is cancelled.
class ScriptedPage : public WebAuthenticating {
 public:
  explicit ScriptedPage(std::variant<std::string, Kind, std::monostate> script)
      : script_(std::move(script)) {}
  bool wasEnded = false;

  Task<std::optional<std::string>> authenticate(std::string, std::string) override {
    if (const auto* callback = std::get_if<std::string>(&script_)) co_return *callback;
    if (const auto* kind = std::get_if<Kind>(&script_)) throw WebAuthenticationError(*kind, "why");
    co_await sleepFor(std::chrono::nanoseconds::max());
    wasEnded = true;
    throw WebAuthenticationError(Kind::cancelled, "ended");
  }

 private:
  std::variant<std::string, Kind, std::monostate> script_;
};

class RecordingClipboard : public ClipboardWriting {
 public:
  std::function<bool(std::string)> onWrite = [](const std::string&) { return true; };
  Task<bool> write(std::string text) override { co_return onWrite(std::move(text)); }
};

std::string joined(const Lines& lines, const std::string& prefix = {}) {
  std::string text;
  for (const auto& line : lines) text.append(prefix).append(line).append("\n");
  return text;
}

class CloudCLITest : public testing::Test {
 protected:
  CloudCLITest() {
    setenv("QUILLANT_BASE_URL", service.origin().c_str(), 1);
    setenv("XDG_DATA_HOME", (folder / "data").c_str(), 1);
    unsetenv("QUILLANT_PROFILE");
    QuillantConfig::profileOverride.reset();
    std::ofstream(video) << std::string(1'500'000, 'v');
  }
  ~CloudCLITest() override { QuillantConfig::profileOverride.reset(); }

  /// Runs a command and checks all that it says but progress. "{v}" stands for the video, "{l}" for the link,
  /// "{i}" for the entry on disk, of which there is one at most.
  void expect(const std::string& command, int code, const Lines& output, const Lines& errors = {}) {
    Arguments words{"quillant"};
    const auto filledIn = filled(command);
    for (const auto word : Text::words(filledIn)) words.emplace_back(word);
    CloudCLI cli([this] { return services(); });
    EXPECT_TRUE(cli.shouldRun(words));
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(cli.run(words), code) << command;
    const std::regex progress("  (video|thumb) [0-9]+%\n");
    EXPECT_EQ(std::regex_replace(testing::internal::GetCapturedStdout(), progress, ""),
              filled(joined(output)));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), filled(joined(errors, "quillant: "))) << command;
  }

  std::string filled(std::string text) const {
    const auto entries = PendingUploadStore{QuillantConfig::pendingUploadsDirectory()}.all();
    text = std::regex_replace(text, std::regex("\\{v\\}"), video.string());
    if (!entries.empty()) text = std::regex_replace(text, std::regex("\\{i\\}"), entries[0].shortId());
    return service.videoIds().empty() ? text : std::regex_replace(text, std::regex("\\{l\\}"), link());
  }
  std::string link() const {
    return service.origin() + "/v/" + service.upload(service.videoIds().at(0))["slug"].get<std::string>();
  }

  CloudServices services() {
    const auto probe = [](const std::filesystem::path& path) {
      if (path.extension() != ".mp4") throw NoVideo();
      return VideoFacts{static_cast<std::int64_t>(std::filesystem::file_size(path)), 2000, 640, 360};
    };
    const auto makePoster = [this](const std::filesystem::path&, const std::filesystem::path& poster) {
      if (!canMakePosters) throw NoVideo();
      std::ofstream(poster) << "jpeg";
    };
    return {CurlHttpClient::make(), secrets, page, clipboard, probe, makePoster, clock.clock()};
  }
  void signIn() { runBlocking(TokenStore::save(*secrets, service.signIn())); }

  TemporaryFolder folder;
  FakeService service{{.folder = folder / "service"}};
  std::filesystem::path video = folder / "talk.mp4";
  std::shared_ptr<MemorySecrets> secrets = std::make_shared<MemorySecrets>();
  std::shared_ptr<ScriptedPage> page;
  std::shared_ptr<RecordingClipboard> clipboard = std::make_shared<RecordingClipboard>();
  VirtualClock clock;
  bool canMakePosters = true;
  const std::string account = "Signed in as dev@example.com (free) [profile: dev]";
  const std::string footer = "\nThese resume automatically (launch sweep / `quillant resume`).";
  const std::string again = "recording is SAFE on disk and the upload is queued.";
};

TEST_F(CloudCLITest, SaysWhatItCannotActOn) {
  const std::tuple<std::string, int, std::string> cases[] = {
      {"login --now", 64, "unknown login option --now"},
      {"upload", 64, "upload requires a <file.mp4>"},
      {"upload --title", 64, "--title requires a value"},
      {"upload --tilte x", 64, "unknown upload option --tilte"},
      {"upload a.mp4 b.mp4", 64, "unknown upload option b.mp4"},
      {"upload /gone.mp4", 70, "no such file: /gone.mp4"},
      {"upload /tmp", 70, "no such file: /tmp"},
      {"upload {v}", 77, "not signed in — run `quillant login`"},
      {"resume", 77, "cannot resume — not signed in."},
      {"resume --resume", 64, "unknown resume option --resume"},
      {"status all", 64, "unknown status option all"},
      {"whoami", 77, "not signed in [profile: dev] — run `quillant login`"},
      {"whoami --profile", 64, "--profile requires a value"},
      {"whoami --profile Work!", 77, "not signed in [profile: work] — run `quillant login`"},
      {"upload --profile a --title t --profile b", 64, "upload requires a <file.mp4>"},
  };
  for (const auto& [command, code, error] : cases) {
    QuillantConfig::profileOverride.reset();
    expect(command, code, {}, {error});
  }
  EXPECT_EQ(QuillantConfig::profileOverride, "b");
  for (const Arguments& arguments : {Arguments{}, {"quillant"}, {"quillant", "record", "upload"}})
    EXPECT_FALSE(CloudCLI({}).shouldRun(arguments));
}

TEST_F(CloudCLITest, TellsWhySignInFailedAndKeepsTheTokenFromBefore) {
  runBlocking(TokenStore::save(*secrets, "old"));
  for (const auto& [kind, text] : {std::pair(Kind::cancelled, "sign-in cancelled"),
                                   {Kind::timedOut, "sign-in failed: why"},
                                   {Kind::failed, "sign-in failed: why"},
                                   {Kind::presentation, "could not present sign-in window: why"}}) {
    page = std::make_shared<ScriptedPage>(kind);
    expect("login", 70, {}, {std::string("login failed: ") + text});
    EXPECT_EQ(runBlocking(TokenStore::load(*secrets)), "old");
  }
  page = std::make_shared<ScriptedPage>(FakeService::callback(service.signIn()));
  service.fail({.step = Step::me, .status = 503, .times = 2});
  expect("login", 70, {}, {"login failed: server error 503"});
  EXPECT_EQ(runBlocking(TokenStore::load(*secrets)), service.signIn()) << "stored before it is confirmed";
  expect("status", 0, {"Signed in (could not reach server: server error 503)", "No pending uploads."});
}

TEST_F(CloudCLITest, HandsOutTheLinkFirstAndKeepsWhatCouldNotBeSent) {
  signIn();
  expect("resume", 0, {"No pending uploads."});
  canMakePosters = false;
  clipboard->onWrite = [&](const std::string& text) {
    return text == link() && service.counts()[Step::putVideo].requests == 0;
  };
  service.fail({.step = Step::putVideo, .status = 503, .times = 3});
  const std::string failed = " failed: PUT failed (503): {} (retrying)";
  expect("upload {v}", 70,
         {"🔗 Link copied to clipboard (before upload finishes): {l}", "uploading video (1.5 MB)…",
          "  video attempt 1" + failed, "  video attempt 2" + failed, "  video attempt 3" + failed},
         {"warning: thumbnail generation failed (no video in it)", "upload failed: PUT failed (503): {}",
          again, "  file: {v}", "  resume with: quillant status --resume"});
  EXPECT_EQ(*clock.sleeps, (std::vector{1, 2}));
  expect("status", 0,
         {account, "1 upload(s) pending:", "  {i}  talk.mp4  waiting (retry in ~30s)  {l}",
          "      last error: PUT failed (503): {}", footer});
  expect("resume", 0,
         {"Nothing eligible yet — 1 upload(s) backing off. Force with `quillant resume --force`."});
  service.fail({.step = Step::completeUpload, .status = 500});
  expect("resume --force", 70,
         {"uploading video (1.5 MB)…", "finalizing…",
          "upload {i} failed (attempt 2); will retry in ~60s — recording safe at {v}"},
         {"1 upload(s) still pending (will retry with backoff). Recordings are safe on disk."});
  expect("status --resume --force", 0, {"finalizing…", "done — {l}", account, "No pending uploads."});
}

TEST_F(CloudCLITest, WaitsForSignInWhereTheTokenIsRefused) {
  signIn();
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
  std::filesystem::remove_all(folder / "data");
  signIn();
  service.fail({.step = Step::completeUpload, .status = 401});
  expect("upload {v}", 77,
         {"🔗 Link copied to clipboard (before upload finishes): {l}", "uploading video (1.5 MB)…",
          "uploading thumbnail…", "finalizing…"},
         {"session expired mid-upload — run `quillant login`, then `quillant status --resume`.",
          "recording is safe: {v}"});
}

TEST_F(CloudCLITest, TellsAServicesWordsWithoutLettingThemSteerTheTerminal) {
  signIn();
  std::ofstream(folder / "notes.txt") << "text";
  expect("upload " + (folder / "notes.txt").string(), 70, {}, {"could not read video: no video in it"});
  std::ofstream(folder / "data") << "in the folder's place";
  expect("upload {v}", 70, {},
         {"warning: thumbnail generation failed (could not use the private folder " +
              QuillantConfig::pendingUploadsDirectory().string() + ": Not a directory)",
          "could not persist upload record: could not use the private folder " +
              QuillantConfig::pendingUploadsDirectory().string() + ": Not a directory"});
  EXPECT_TRUE(service.counts().empty()) << "nothing is sent for an upload that cannot be kept";

  std::filesystem::remove(folder / "data");
  service.fail({.step = Step::createUpload, .status = 403, .message = "\x1b[2J\xC2\x9Bno", .code = "quota"});
  expect("upload {v}", 70, {},
         {"could not start upload: server error 403: �[2J�no code=quota",
          "recording is safe on disk and queued: {v}"});
  service.fail({.step = Step::completeUpload,
                .failure = FakeServiceFailure::body,
                .status = 200,
                .body = R"({"video_id":"v","slug":"s","status":"processing"})"});
  expect("resume --force", 70, {"uploading video (1.5 MB)…", "uploading thumbnail…", "finalizing…"},
         {"1 upload(s) still pending (will retry with backoff). Recordings are safe on disk."});
}

TEST(UploadLines, DrawsProgressInOnePlaceOnATerminalOnly) {
  for (const auto& [isTerminal, start] : {std::pair(false, ""), {true, "\r\x1b[K"}}) {
    testing::internal::CaptureStdout();
    {
      UploadLines lines(isTerminal);
      for (const auto* line : {"uploading…", "  video 0%", "  video 100%", "finalizing…", "  x 50%"})
        lines.write(line);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "uploading…\n" + (start + std::string("  video 0%") + (isTerminal ? "" : "\n")) + start +
                  "  video 100%\nfinalizing…\n" + start + "  x 50%\n");
  }
}

TEST(DesktopSignIn, EndsAsTheFirstOfItsPagesThatCounts) {
  const std::string callback = "quillant://auth?token=a";
  using Script = std::variant<std::string, Kind, std::monostate>;
  const std::monostate waits;
  const std::tuple<Script, Script, Script> cases[] = {
      {callback, waits, callback},
      {waits, callback, callback},
      {Kind::presentation, callback, callback},
      {Kind::presentation, Kind::cancelled, Kind::cancelled},
      {Kind::timedOut, waits, Kind::timedOut},
      {waits, Kind::cancelled, Kind::cancelled},
  };
  for (const auto& [browserScript, terminalScript, expected] : cases) {
    const auto browser = std::make_shared<ScriptedPage>(browserScript);
    const auto terminal = std::make_shared<ScriptedPage>(terminalScript);
    DesktopSignIn page(browser, terminal);
    Script result;
    try {
      result = runBlocking(page.authenticate("https://example.com", "quillant"), makeStrand()).value();
    } catch (const WebAuthenticationError& error) {
      result = error.kind();
    }
    EXPECT_EQ(result, expected);
    EXPECT_EQ(browser->wasEnded, browserScript == Script(waits));
    EXPECT_EQ(terminal->wasEnded, terminalScript == Script(waits));
  }
}

}  // namespace
}  // namespace quillant
