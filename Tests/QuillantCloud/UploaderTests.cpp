#include <asio/io_context.hpp>
#include <deque>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fstream>
#include <gtest/gtest.h>

#include "QuillantCloud/APIError.h"
#include "QuillantCloud/PresignedPut.h"
#include "QuillantCloud/Uploader.h"
#include "Tests/QuillantCloud/CloudFakes.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

using Lines = std::vector<std::string>;
using Phase = UploadProgress::Phase;

/// A service and its object store that keep nothing, say what they are told to say, and note what they are
/// asked.
class ScriptedService : public QuillantUploadAPI, public UploadTransport {
 public:
  Lines asked;
  bool videoPresent = false;
  bool thumbPresent = false;
  std::optional<std::string> captionsURL = "https://s/captions";
  std::string status = "ready";
  std::string link = "https://q/slug";
  std::function<void()> onPut = [] {};
  std::deque<APIError> completeErrors;
  std::deque<std::variant<UploadError, TransportError>> putErrors;

  Task<UploadReservation> createUpload(std::optional<std::string>, std::int64_t, std::int64_t, std::int64_t,
                                       std::int64_t) override {
    asked.emplace_back("create");
    UploadReservation made{"v1", "slug", link, "https://s/video", "https://s/thumb", captionsURL};
    co_return made;
  }
  Task<RefreshResult> refreshPresign(std::string videoId) override {
    asked.push_back("refresh " + videoId);
    RefreshResult fresh{"other",      "other",      "https://q/other", "https://s/video2", "https://s/thumb2",
                        videoPresent, thumbPresent, captionsURL,       std::nullopt};
    co_return fresh;
  }
  Task<CompleteResult> completeUpload(std::string videoId, std::int64_t, CaptionsDeclaration said) override {
    const auto* language = std::get_if<CaptionsDeclaration::Language>(&said.value);
    const bool isNone = said == CaptionsDeclaration::none();
    asked.push_back("complete " + videoId + (language ? " " + language->code : isNone ? " none" : ""));
    if (!completeErrors.empty()) throw next(completeErrors);
    CompleteResult result{videoId, "slug", status};
    co_return result;
  }
  Task<> put(std::filesystem::path, std::string url, std::string contentType, Progress progress) override {
    asked.push_back(url.substr(url.rfind('/') + 1) + " " + contentType);
    onPut();
    if (!putErrors.empty()) std::visit([](const auto& error) { throw error; }, next(putErrors));
    progress(0.5);
    progress(1);
    co_return;
  }

 private:
  template <class Value>
  static Value next(std::deque<Value>& values) {
    const auto value = values.front();
    values.pop_front();
    return value;
  }
};

UploadError refused(int status) {
  return UploadError(UploadError::Put{status, "why"});
}

APIError conflict(int status, std::optional<std::string> code) {
  return APIError(APIError::Http{status, "gone", std::move(code)});
}

class UploaderTest : public testing::Test {
 protected:
  UploaderTest() {
    std::ofstream(folder / "poster.jpg") << "jpeg";
    std::ofstream(folder / "captions.vtt") << "WEBVTT";
    renew();
  }

  void renew() {
    entry = PendingUpload::make("/video.mp4", folder / "poster.jpg", "Talk", 1'500'000, 2000, 640, 360);
  }
  /// An entry whose link exists and whose URLs are good for another `seconds`.
  void reserved(double seconds) {
    entry.videoId = "v1";
    entry.shareURL = "https://q/slug";
    entry.putVideoURL = "https://s/video";
    entry.putThumbURL = "https://s/thumb";
    entry.presignExpiresAt = Date{clock.time->secondsSince2001 + seconds};
  }
  void declareCaptions() {
    entry.captionsDeclared = true;
    entry.captionsPath = folder / "captions.vtt";
    entry.captionsLanguage = "de";
  }

  /// What the service was asked, and in the end the text of what the run ended with, if it did not end well.
  std::string run(bool replacingBytes = false) {
    const Uploader uploader{.api = service,
                            .store = store,
                            .transport = service,
                            .log = [this](const std::string& line) { log.push_back(line); },
                            .progress = [this](const UploadProgress& now) { shown.push_back(now); },
                            .clock = clock.clock()};
    service->asked.clear();
    clock.sleeps->clear();
    try {
      runBlocking(uploader.runRemaining(entry, replacingBytes));
    } catch (const Error& error) {
      service->asked.push_back(error.description());
    }
    return fmt::format("{}", fmt::join(service->asked, ", "));
  }
  bool isOnDisk() const { return store.load(entry.id).has_value(); }

  TemporaryFolder folder;
  PendingUploadStore store{folder / "queue"};
  PendingUpload entry;
  std::shared_ptr<ScriptedService> service = std::make_shared<ScriptedService>();
  VirtualClock clock;
  Lines log;
  std::vector<UploadProgress> shown;
  const std::string all = "video video/mp4, thumb image/jpeg";
};

TEST_F(UploaderTest, TakesAllStepsInOrderAndStaysOnDiskUntilTheServiceSaysReady) {
  declareCaptions();
  service->status = "processing";
  EXPECT_EQ(run(), "create, " + all + ", captions text/vtt, complete v1 de");
  EXPECT_TRUE(isOnDisk() && !entry.completed);
  service->status = "ready";
  EXPECT_EQ(run(), "complete v1 de") << "nothing is sent again";
  EXPECT_TRUE(!isOnDisk() && entry.completed);
  EXPECT_EQ(log, (Lines{"uploading video (1.5 MB)…", "uploading thumbnail…", "uploading captions…",
                        "finalizing…", "finalizing…", "done — https://q/slug"}));
  std::vector<UploadProgress> expected = {{.phase = Phase::reserving}};
  for (const auto phase : {Phase::video, Phase::thumb, Phase::captions})
    for (const double fraction : {0.0, 0.5, 1.0}) expected.push_back({.phase = phase, .fraction = fraction});
  for (const auto phase : {Phase::finalizing, Phase::reserving, Phase::finalizing})
    expected.push_back({.phase = phase});
  EXPECT_EQ(shown, expected);
}

TEST_F(UploaderTest, TriesAPutThreeTimesIfThatMayHelp) {
  const TransportError lost(TransportError::Kind::interrupted, "connection lost");
  const std::tuple<decltype(service->putErrors), std::vector<int>, std::string> cases[] = {
      {{refused(503)}, {1}, "complete v1"},
      {{refused(500), lost}, {1, 2}, "complete v1"},
      {{refused(503), refused(429), refused(-1), refused(500)}, {1, 2}, "PUT failed (-1): why"},
      {{lost, lost, lost}, {1, 2}, "connection lost"},
      {{refused(499)}, {}, "PUT failed (499): why"},
  };
  for (const auto& [failures, sleeps, end] : cases) {
    renew();
    entry.thumbPath.reset();
    service->putErrors = failures;
    std::string puts;
    for (std::size_t count = 0; count <= sleeps.size(); ++count) puts += "video video/mp4, ";
    EXPECT_EQ(run(), "create, " + puts + end);
    EXPECT_EQ(*clock.sleeps, sleeps) << end;
    EXPECT_FALSE(entry.thumbUploaded);
  }
  EXPECT_EQ(log[1], "  video attempt 1 failed: PUT failed (503): why (retrying)");
  EXPECT_EQ(log.back(), "  video attempt 1 failed: PUT failed (499): why ");
  EXPECT_EQ(shown.back(), (UploadProgress{.phase = Phase::video, .failure = "PUT failed (499): why"}));

  service->putErrors = {refused(403)};
  EXPECT_EQ(run(), "video video/mp4, PUT failed (403): why");
  EXPECT_EQ(run(), "refresh v1, video2 video/mp4, complete v1")
      << "URLs that were refused are not used again";
}

TEST_F(UploaderTest, IsCancelledWhereverItIsAndDoesNotFail) {
  const TransportError ended(TransportError::Kind::cancelled, "ended");
  const std::string cancelled = "the upload was cancelled";
  const auto expectCancelled = [&](const std::string& asked) {
    EXPECT_EQ(run(), asked + ", " + cancelled);
    EXPECT_TRUE(shown.back().cancelled && !shown.back().failure);
    EXPECT_EQ(fmt::format("{}", fmt::join(log, " ")).find("attempt"), std::string::npos);
  };
  service->putErrors = {ended};
  expectCancelled("create, video video/mp4");
  reserved(61), entry.videoUploaded = true, service->putErrors = {ended};
  expectCancelled("thumb image/jpeg");
  EXPECT_FALSE(entry.thumbUploaded);
  entry.thumbUploaded = true, service->completeErrors = {APIError(APIError::Transport{ended})};
  expectCancelled("complete v1");
  // A wait that is cancelled throws what the library has for that.
  const Uploader waiting{
      .api = service,
      .store = store,
      .transport = service,
      .clock = {.sleep = [](auto) -> Task<> {
        throw std::system_error(asio::error::make_error_code(asio::error::operation_aborted));
        co_return;
      }}};
  renew(), service->putErrors = {refused(503)};
  EXPECT_THROW(runBlocking(waiting.runRemaining(entry, false)), UploadError);
}

TEST_F(UploaderTest, HandsOutNoLinkThatIsNoWebAddress) {
  for (const auto* link :
       {"javascript:alert(1)", "file:///etc/passwd", "q/slug", "https://", "http://q:port/x"}) {
    renew();
    service->link = link;
    EXPECT_EQ(run(), "create, missing/invalid upload reservation") << link;
    EXPECT_TRUE(isOnDisk() && entry.videoId && !entry.shareURL);
    EXPECT_EQ(run().substr(0, 10), "refresh v1") << "nothing is created twice";
    renew();
    reserved(61);
    entry.shareURL = link;
    EXPECT_EQ(run(), "missing/invalid upload reservation") << link;
  }
}

TEST_F(UploaderTest, SkipsWhatIsDoneAndWhatCannotBe) {
  struct Case {
    std::function<void()> prepare;
    std::string asked;
    bool replacingBytes = false;
  };
  const Case cases[] = {
      {[&] { entry.thumbPath = folder / "gone.jpg"; }, "create, video video/mp4, complete v1"},
      {[&] { reserved(61), entry.videoUploaded = true, service->putErrors = {refused(403)}; },
       "thumb image/jpeg, complete v1"},
      // A lease about to lapse: the service knows best what it holds.
      {[&] { reserved(60), entry.videoUploaded = true, service->thumbPresent = true; },
       "refresh v1, video2 video/mp4, complete v1"},
      // With new bytes what the service holds is out of date, but while a lease lasts the caller's flags
      // count.
      {[&] { reserved(61), entry.videoUploaded = true; }, "thumb image/jpeg, complete v1", true},
      {[&] { reserved(60), service->videoPresent = service->thumbPresent = true; },
       "refresh v1, video2 video/mp4, thumb2 image/jpeg, complete v1", true},
      // What is there may be of an earlier edit than the entry's.
      {[&] {
         reserved(60), entry.editFingerprint = "an edit", entry.thumbUploaded = true;
         service->videoPresent = service->thumbPresent = true;
       },
       "refresh v1, video2 video/mp4, complete v1"},
      {[&] { reserved(61), entry.videoPath.clear(); },
       "nothing was rendered for this link yet; share it again, the link stays the same"},
      {[&] { entry.captionsDeclared = true; }, "create, " + all + ", complete v1 none"},
      {[&] { declareCaptions(), entry.captionsDeclared.reset(); }, "create, " + all + ", complete v1"},
      {[&] { declareCaptions(), entry.captionsPath = "/gone.vtt"; },
       "create, " + all + ", The captions file for this share is missing. Try sharing again."},
      {[&] { declareCaptions(), service->captionsURL.reset(); },
       "create, " + all +
           ", The Quillant server can't take captions yet. Turn captions off in the Captions tab to share "
           "now."},
      {[&] { reserved(61), entry.putVideoURL = "no address"; }, "missing/invalid upload reservation"},
      {[&] { reserved(60), entry.videoPath = folder / "poster.jpg"; },
       "the file has changed since it was queued (1500000 bytes then, 4 now); upload it again"},
      {[&] {
         entry.videoPath = folder / "growing.mp4";
         std::ofstream(entry.videoPath) << std::string(1'500'000, '.');
         service->onPut = [&] { std::ofstream(entry.videoPath, std::ios::app) << "more"; };
       },
       "create, video video/mp4, "
       "the file has changed since it was queued (1500000 bytes then, 1500004 now); upload it again"},
      // No byte is sent for a link that would be forgotten.
      {[&] {
         std::filesystem::remove_all(store.directory);
         std::ofstream(store.directory) << "a file in the folder's place";
       },
       "create, could not use the private folder " + store.directory.string() + ": Not a directory"},
  };
  for (const auto& [prepare, asked, replacingBytes] : cases) {
    *service = {};
    renew();
    prepare();
    EXPECT_EQ(run(replacingBytes), asked);
    EXPECT_EQ(entry.shareURL, "https://q/slug") << "a link never changes";
    EXPECT_TRUE(entry.thumbUploaded || !entry.completed);
  }
}

TEST_F(UploaderTest, SendsAgainWhatTheServiceHasReclaimed) {
  const auto missing = conflict(409, "object_missing");
  service->completeErrors = {missing, conflict(409, "captions_missing")};
  const std::string round = ", refresh v1, video2 video/mp4, thumb2 image/jpeg, complete v1";
  EXPECT_EQ(run(), "create, " + all + ", complete v1" + round + round);
  EXPECT_EQ(std::count(log.begin(), log.end(),
                       "bytes were reclaimed before finalize — re-uploading before retrying complete"),
            2);
  for (const auto& other : {conflict(409, "size_mismatch"), conflict(409, std::nullopt),
                            conflict(410, "object_missing"), APIError(APIError::TokenExpired{})}) {
    entry.completed = false;
    service->completeErrors = {other};
    EXPECT_EQ(run(), "complete v1, " + other.description());
    EXPECT_TRUE(entry.videoUploaded) << "a later run has only to complete";
  }
  service->completeErrors.assign(100, missing);
  EXPECT_TRUE(run().ends_with(missing.description())) << "left alone for a while";
  EXPECT_LT(service->asked.size(), 30u);
  EXPECT_FALSE(store.load(entry.id)->videoUploaded);
}

TEST(PresignedPut, ReportsEachTenthBesideTheTransferAndShowsNoLongAnswers) {
  ScriptedHttpClient http;
  http.answer(200, "");
  http.answer(403, std::string(600, 'x'));
  http.answer(500, "\xFF");
  http.answers.emplace_back(TransportError(TransportError::Kind::notHTTP, "SSH-2.0"));
  http.answers.emplace_back(TransportError(TransportError::Kind::timedOut, "too slow"));
  http.answers.emplace_back(TransportError(TransportError::Kind::cancelled, "ended"));
  std::vector<double> reports;
  asio::io_context loop;
  const auto runLoop = [&] { loop.restart(), loop.run(); };
  const auto put = [&](const std::string& url = "https://s/v") {
    std::string text;
    asio::co_spawn(loop,
                   PresignedPut::upload(http, "/v", url, "video/mp4",
                                        [&](double fraction) { reports.push_back(fraction); }),
                   [&](std::exception_ptr error) { text = describe(error); });
    runLoop();
    return text;
  };
  for (const auto* insecure : {"http://s/v", "ftp://s/v", "s/v"})
    EXPECT_EQ(put(insecure), "the address to upload to is not https; nothing was sent");
  EXPECT_TRUE(http.requests.empty());
  EXPECT_EQ(put("http://127.0.0.1/v"), "no error");
  const auto& request = http.requests.at(0);
  EXPECT_EQ(request.headers, (std::vector<HttpHeader>{{"Content-Type", "video/mp4"}}))
      << "no second authority";
  for (int sent = 0; sent <= 100; ++sent) request.progress(sent, 100);
  request.progress(0, 0);
  EXPECT_TRUE(reports.empty()) << "the transfer's thread does not wait for whoever is told";
  runLoop();
  EXPECT_EQ(reports, (std::vector<double>{0, .1, .2, .3, .4, .5, .6, .7, .8, .9, 1}));
  EXPECT_EQ(put(), "PUT failed (403): " + std::string(500, 'x'));
  EXPECT_EQ(put(), "PUT failed (500)");
  EXPECT_EQ(put(), "PUT failed (-1): no HTTP response");
  EXPECT_EQ(put(), "PUT failed (-1): too slow");
  EXPECT_EQ(put(), "ended");
}

}  // namespace
}  // namespace quillant
