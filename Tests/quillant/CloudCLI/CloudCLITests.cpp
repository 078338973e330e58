#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Core/AtomicFile.h"
#include "Core/JSON.h"
#include "Linux/Http/CurlHttpClient.h"
#include "QuillantCloud/QuillantConfig.h"
#include "QuillantCloud/TokenStore.h"
#include "QuillantCloud/UploadQueueService.h"
#include "Tests/QuillantCloud/CloudFakes.h"
#include "Tests/Support/FakeService/FakeService.h"
#include "Tests/Support/TemporaryFolder.h"
#include "quillant/CloudCLI.h"
#include "quillant/UploadLines.h"

namespace quillant {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using Step = FakeServiceStep;

class UnreadableVideo : public Error {
 public:
  UnreadableVideo() : Error("no video in it") {}
};

/// A browser whose user continues as the account that the page offers.
class ObedientBrowser : public WebAuthenticating {
 public:
  std::optional<WebAuthenticationError> failure;

  Task<std::optional<std::string>> authenticate(std::string url, std::string) override {
    if (failure) throw WebAuthenticationError(*failure);
    HttpRequest page{.method = "GET", .url = url};
    const auto offered = co_await http_->send(std::move(page));
    EXPECT_THAT(offered.body, HasSubstr("/auth/google/callback?email=dev%40example.com"));
    HttpRequest chosen{.method = "GET",
                       .url = url.substr(0, url.find('?')) + "/callback?email=dev%40example.com"};
    const auto redirect = co_await http_->send(std::move(chosen));
    for (const auto& [name, value] : redirect.headers)
      if (name == "location" || name == "Location") co_return value;
    co_return std::nullopt;
  }

 private:
  std::unique_ptr<HttpClient> http_ = CurlHttpClient::make();
};

class RecordingClipboard : public ClipboardWriting {
 public:
  bool works = true;
  std::function<void()> onWrite = [] {};
  std::vector<std::string> texts;

  Task<bool> write(std::string text) override {
    onWrite();
    if (works) texts.push_back(std::move(text));
    co_return works;
  }
};

struct Result {
  int code;
  std::string output;
  std::string errors;
};

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

  Result run(std::vector<std::string> words) {
    words.insert(words.begin(), "quillant");
    CloudCLI command([this] { return services(); });
    EXPECT_TRUE(command.shouldRun(words));
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int code = command.run(words);
    return {code, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
  }

  CloudServices services() {
    return {
        .http = CurlHttpClient::make(),
        .secrets = secrets,
        .signInPage = browser,
        .clipboard = clipboard,
        .probe =
            [](const std::filesystem::path& path) {
              if (path.extension() != ".mp4") throw UnreadableVideo();
              return VideoFacts{static_cast<std::int64_t>(std::filesystem::file_size(path)), 2000, 640, 360};
            },
        .makePoster =
            [this](const std::filesystem::path&, const std::filesystem::path& poster) {
              if (!canMakePosters) throw UnreadableVideo();
              std::ofstream(poster) << "jpeg";
            },
        .clock = clock.clock()};
  }

  void signIn() { runBlocking(TokenStore::save(*secrets, service.signIn())); }
  std::size_t entriesOnDisk() const {
    return PendingUploadStore{QuillantConfig::pendingUploadsDirectory()}.all().size();
  }
  std::string theLink() const {
    return service.origin() + "/v/" + service.upload(service.videoIds().at(0))["slug"].get<std::string>();
  }

  TemporaryFolder folder;
  FakeService service{{.folder = folder / "service"}};
  std::filesystem::path video = folder / "talk.mp4";
  std::shared_ptr<MemorySecrets> secrets = std::make_shared<MemorySecrets>();
  std::shared_ptr<ObedientBrowser> browser = std::make_shared<ObedientBrowser>();
  std::shared_ptr<RecordingClipboard> clipboard = std::make_shared<RecordingClipboard>();
  VirtualClock clock;
  bool canMakePosters = true;
};

TEST_F(CloudCLITest, GoesTheWholeRoad) {
  auto result = run({"login"});
  const std::string account = "Signed in as dev@example.com (free) [profile: dev]\n";
  EXPECT_EQ(result.output, account);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(run({"whoami"}).output, account);
  EXPECT_EQ(run({"status"}).output, account + "No pending uploads.\n");
  EXPECT_EQ(run({"resume"}).output, "No pending uploads.\n");

  int videosAtCopying = -1;
  clipboard->onWrite = [&] { videosAtCopying = service.counts()[Step::putVideo].requests; };
  result = run({"upload", video, "--title", "My talk"});
  EXPECT_EQ(videosAtCopying, 0) << "the link comes before the bytes";
  EXPECT_EQ(clipboard->texts, std::vector{theLink()});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(result.output, StartsWith("🔗 Link copied to clipboard (before upload finishes): " + theLink() +
                                        "\nuploading video (1.5 MB)…\n  video "));
  EXPECT_THAT(result.output, testing::EndsWith("finalizing…\ndone — " + theLink() +
                                               "\n✅ Upload complete: " + theLink() + "\n"));
  const auto id = service.videoIds().at(0);
  EXPECT_EQ(AtomicFile::read(service.objectPath(id, "video")), AtomicFile::read(video));
  EXPECT_EQ(AtomicFile::read(service.objectPath(id, "thumb")), "jpeg");
  EXPECT_EQ(service.upload(id)["title"], "My talk");
  EXPECT_TRUE(std::filesystem::is_empty(QuillantConfig::pendingUploadsDirectory()));

  result = run({"logout"});
  EXPECT_EQ(result.output, "Signed out [profile: dev]\n");
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(run({"logout"}).code, 0) << "twice is harmless";
  EXPECT_EQ(run({"status"}).output, "Not signed in — run `quillant login`.\nNo pending uploads.\n");
}

TEST_F(CloudCLITest, SaysWhatItCannotActOn) {
  struct Case {
    std::vector<std::string> words;
    int code;
    std::string errors;
  };
  const auto gone = (folder / "gone.mp4").string();
  const std::vector<Case> cases = {
      {{"login", "--now"}, 64, "quillant: unknown login option --now\n"},
      {{"upload"}, 64, "quillant: upload requires a <file.mp4>\n"},
      {{"upload", "--title"}, 64, "quillant: --title requires a value\n"},
      {{"upload", "--tilte", "x"}, 64, "quillant: unknown upload option --tilte\n"},
      {{"upload", "a.mp4", "b.mp4"}, 64, "quillant: unknown upload option b.mp4\n"},
      {{"upload", gone}, 70, "quillant: no such file: " + gone + "\n"},
      {{"upload", folder.path()}, 70, "quillant: no such file: " + folder.path().string() + "\n"},
      {{"upload", video}, 77, "quillant: not signed in — run `quillant login`\n"},
      {{"resume"}, 77, "quillant: cannot resume — not signed in.\n"},
      {{"resume", "--resume"}, 64, "quillant: unknown resume option --resume\n"},
      {{"status", "all"}, 64, "quillant: unknown status option all\n"},
      {{"whoami"}, 77, "quillant: not signed in [profile: dev] — run `quillant login`\n"},
      {{"whoami", "--profile"}, 64, "quillant: --profile requires a value\n"},
      {{"whoami", "--profile", "Work!"},
       77,
       "quillant: not signed in [profile: work] — run `quillant login`\n"},
      {{"upload", "--profile", "a", "--title", "t", "--profile", "b"},
       64,
       "quillant: upload requires a <file.mp4>\n"},
  };
  for (const auto& [words, code, errors] : cases) {
    QuillantConfig::profileOverride.reset();
    const auto result = run(words);
    EXPECT_EQ(result.code, code) << testing::PrintToString(words);
    EXPECT_EQ(result.errors, errors);
    EXPECT_EQ(result.output, "");
  }
  EXPECT_EQ(QuillantConfig::profileOverride, "b");
  const CloudCLI command({});
  for (const Arguments& arguments : {Arguments{}, {"quillant"}, {"quillant", "record", "upload"}})
    EXPECT_FALSE(command.shouldRun(arguments));
}

TEST_F(CloudCLITest, TellsWhySignInFailedAndKeepsTheTokenFromBefore) {
  using Kind = WebAuthenticationError::Kind;
  const std::vector<std::pair<WebAuthenticationError, std::string>> cases = {
      {{Kind::cancelled, "closed"}, "sign-in cancelled"},
      {{Kind::timedOut, "nobody signed in"}, "sign-in failed: nobody signed in"},
      {{Kind::failed, "socket gone"}, "sign-in failed: socket gone"},
      {{Kind::presentation, "no browser"}, "could not present sign-in window: no browser"},
  };
  runBlocking(TokenStore::save(*secrets, "old"));
  for (const auto& [failure, text] : cases) {
    browser->failure.emplace(failure);
    const auto result = run({"login"});
    EXPECT_EQ(result.errors, "quillant: login failed: " + text + "\n");
    EXPECT_EQ(result.code, 70);
    EXPECT_EQ(runBlocking(TokenStore::load(*secrets)), "old");
  }
  browser->failure.reset();
  service.fail({.step = Step::me, .status = 503, .times = 2});
  EXPECT_EQ(run({"login"}).errors, "quillant: login failed: server error 503\n");
  EXPECT_EQ(runBlocking(TokenStore::load(*secrets)), service.signIn()) << "stored before it is confirmed";
  EXPECT_THAT(run({"status"}).output, StartsWith("Signed in (could not reach server: server error 503)\n"));
}

TEST_F(CloudCLITest, KeepsWhatCouldNotBeSentForLater) {
  signIn();
  clipboard->works = canMakePosters = false;
  service.fail({.step = Step::putVideo, .status = 503, .times = 3});
  auto result = run({"upload", video});
  EXPECT_EQ(result.code, 70);
  EXPECT_EQ(*clock.sleeps, (std::vector{1, 2}));
  EXPECT_THAT(
      result.output,
      HasSubstr("🔗 Link (no clipboard here to copy it to; before upload finishes): " + theLink() + "\n"));
  EXPECT_EQ(result.errors,
            "quillant: warning: thumbnail generation failed (no video in it)\n"
            "quillant: upload failed: PUT failed (503): {}\n"
            "quillant: recording is SAFE on disk and the upload is queued.\n"
            "quillant:   file: " +
                video.string() +
                "\n"
                "quillant:   resume with: quillant status --resume\n");

  result = run({"status"});
  EXPECT_EQ(result.code, 0);
  EXPECT_THAT(result.output,
              testing::MatchesRegex("Signed in as .*\n1 upload\\(s\\) pending:\n  [0-9A-F]+  talk.mp4  "
                                    "waiting \\(retry in ~30s\\)  http.*\n"
                                    "      last error: PUT failed \\(503\\): \\{\\}\n\n"
                                    "These resume automatically \\(launch sweep / `quillant resume`\\).\n"));
  result = run({"resume"});
  EXPECT_EQ(result.output,
            "Nothing eligible yet — 1 upload(s) backing off. Force with `quillant resume --force`.\n");
  EXPECT_EQ(result.code, 0);

  service.fail({.step = Step::completeUpload, .status = 500});
  result = run({"resume", "--force"});
  EXPECT_EQ(result.errors,
            "quillant: 1 upload(s) still pending (will retry with backoff). Recordings are safe on disk.\n");
  EXPECT_EQ(result.code, 70);
  result = run({"status", "--resume", "--force"});
  EXPECT_EQ(result.code, 0);
  EXPECT_THAT(result.output, HasSubstr("done — " + theLink()));
  EXPECT_THAT(result.output, HasSubstr("No pending uploads.\n"));
  EXPECT_EQ(service.videoIds().size(), 1u);
}

TEST_F(CloudCLITest, WaitsForSignInWhereTheTokenIsRefused) {
  signIn();
  const auto token = service.signIn();
  service.fail({.step = Step::completeUpload, .status = 401});
  auto result = run({"upload", video});
  EXPECT_EQ(result.code, 77);
  EXPECT_EQ(result.errors,
            "quillant: session expired mid-upload — run `quillant login`, then `quillant status --resume`.\n"
            "quillant: recording is safe: " +
                video.string() + "\n");

  service.revoke(token);
  result = run({"upload", video});
  EXPECT_EQ(result.code, 77);
  EXPECT_EQ(result.errors, "quillant: session expired — run `quillant login` again. Recording is safe: " +
                               video.string() + "\n");
  EXPECT_EQ(run({"whoami"}).errors,
            "quillant: session expired [profile: dev] — run `quillant login` again\n");
  result = run({"status"});
  EXPECT_THAT(result.output,
              StartsWith("Signed in: session EXPIRED — run `quillant login` again.\n2 upload(s)"));
  EXPECT_THAT(result.output, HasSubstr("waiting for sign-in"));
  result = run({"resume"});
  EXPECT_EQ(result.code, 77);
  EXPECT_EQ(
      result.errors,
      "quillant: uploads are waiting for sign-in — run `quillant login`, then `quillant resume`. Recordings "
      "are safe on disk.\n");
  for (const auto& shown : {result.output, result.errors}) EXPECT_THAT(shown, testing::Not(HasSubstr(token)));
}

TEST_F(CloudCLITest, SendsNothingForAnUploadItCannotKeep) {
  signIn();
  std::ofstream(folder / "notes.txt") << "text";
  EXPECT_EQ(run({"upload", folder / "notes.txt"}).errors, "quillant: could not read video: no video in it\n");
  std::ofstream(folder / "data") << "in the folder's place";
  const auto result = run({"upload", video});
  EXPECT_EQ(result.code, 70);
  EXPECT_THAT(result.errors, HasSubstr("quillant: could not persist upload record: "));
  EXPECT_TRUE(service.received().empty());

  std::filesystem::remove(folder / "data");
  service.fail(
      {.step = Step::createUpload, .status = 403, .message = "too many videos", .code = "quota_exceeded"});
  EXPECT_EQ(run({"upload", video}).errors,
            "quillant: could not start upload: server error 403: too many videos code=quota_exceeded\n"
            "quillant: recording is safe on disk and queued: " +
                video.string() + "\n");
  EXPECT_EQ(entriesOnDisk(), 1u);
}

TEST(UploadLines, DrawsProgressInOnePlaceOnATerminalOnly) {
  const auto shown = [](bool isTerminal) {
    testing::internal::CaptureStdout();
    {
      UploadLines lines(isTerminal);
      for (const auto* line :
           {"uploading video (1 KB)…", "  video 0%", "  video 100%", "finalizing…", "  x 50%"})
        lines.write(line);
    }
    return testing::internal::GetCapturedStdout();
  };
  EXPECT_EQ(shown(false), "uploading video (1 KB)…\n  video 0%\n  video 100%\nfinalizing…\n  x 50%\n");
  EXPECT_EQ(
      shown(true),
      "uploading video (1 KB)…\n\r\x1b[K  video 0%\r\x1b[K  video 100%\nfinalizing…\n\r\x1b[K  x 50%\n");
}

}  // namespace
}  // namespace quillant
