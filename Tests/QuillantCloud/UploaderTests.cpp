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

/// A service and its object store that keep nothing, say what they are told to say, and note what they are
/// asked.
class ScriptedService : public QuillantUploadAPI, public UploadTransport {
 public:
  Lines asked;
  bool videoPresent = false;
  bool thumbPresent = false;
  std::optional<std::string> captionsURL = "https://s/captions";
  std::string status = "ready";
  std::deque<APIError> completeErrors;
  std::deque<std::variant<UploadError, TransportError>> putErrors;

  Task<UploadReservation> createUpload(std::optional<std::string>, std::int64_t, std::int64_t, std::int64_t,
                                       std::int64_t) override {
    asked.emplace_back("create");
    UploadReservation made{"v1", "slug", "https://q/slug", "https://s/video", "https://s/thumb", captionsURL};
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
  EXPECT_EQ(log, (Lines{"uploading video (1.5 MB)…", "  video 50%", "  video 100%", "uploading thumbnail…",
                        "  thumb 50%", "  thumb 100%", "uploading captions…", "  captions 50%",
                        "  captions 100%", "finalizing…", "finalizing…", "done — https://q/slug"}));
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
      {[&] { entry.captionsDeclared = true; }, "create, " + all + ", complete v1 none"},
      {[&] { declareCaptions(), entry.captionsDeclared.reset(); }, "create, " + all + ", complete v1"},
      {[&] { declareCaptions(), entry.captionsPath = "/gone.vtt"; },
       "create, " + all + ", The captions file for this share is missing. Try sharing again."},
      {[&] { declareCaptions(), service->captionsURL.reset(); },
       "create, " + all +
           ", The Quillant server can't take captions yet. Turn captions off in the Captions tab to share "
           "now."},
      {[&] { reserved(61), entry.putVideoURL = "no address"; }, "missing/invalid upload reservation"},
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

TEST(PresignedPut, ReportsEachTenthOnceAndShowsNoLongAnswers) {
  ScriptedHttpClient http;
  http.answer(200, "");
  http.answer(403, std::string(600, 'x'));
  http.answer(500, "\xFF");
  http.answers.emplace_back(TransportError(TransportError::Kind::notHTTP, "SSH-2.0"));
  http.answers.emplace_back(TransportError(TransportError::Kind::timedOut, "too slow"));
  std::vector<double> reports;
  const auto put = [&]() -> std::string {
    try {
      runBlocking(PresignedPut::upload(http, "/v", "https://s/v", "video/mp4",
                                       [&](double fraction) { reports.push_back(fraction); }));
      return {};
    } catch (const UploadError& error) {
      return error.description();
    }
  };
  EXPECT_EQ(put(), "");
  const auto& request = http.requests.at(0);
  EXPECT_EQ(request.headers, (std::vector<HttpHeader>{{"Content-Type", "video/mp4"}}))
      << "no second authority";
  for (int sent = 0; sent <= 100; ++sent) request.progress(sent, 100);
  request.progress(0, 0);
  EXPECT_EQ(reports, (std::vector<double>{0, .1, .2, .3, .4, .5, .6, .7, .8, .9, 1}));
  EXPECT_EQ(put(), "PUT failed (403): " + std::string(500, 'x'));
  EXPECT_EQ(put(), "PUT failed (500)");
  EXPECT_EQ(put(), "PUT failed (-1): no HTTP response");
  EXPECT_EQ(put(), "PUT failed (-1): too slow");
}

}  // namespace
}  // namespace quillant
