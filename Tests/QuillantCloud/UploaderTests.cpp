#include <fstream>
#include <gtest/gtest.h>
#include <mutex>

#include "Core/AtomicFile.h"
#include "QuillantCloud/PresignedPut.h"
#include "QuillantCloud/Uploader.h"
#include "Tests/QuillantCloud/CloudFakes.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

using Lines = std::vector<std::string>;

const std::string videoPut = "https://s/video video/mp4";
const std::string thumbPut = "https://s/thumb image/jpeg";
const std::string captionsPut = "https://s/captions text/vtt";

UploadError refused(int status) {
  return UploadError(UploadError::Put{status, "why"});
}

class UploaderTest : public testing::Test {
 protected:
  UploaderTest() {
    std::ofstream(folder / "poster.jpg") << "jpeg";
    std::ofstream(folder / "captions.vtt") << "WEBVTT";
    entry.thumbPath = folder / "poster.jpg";
  }

  /// The text of what the run ended with; empty if it ended well.
  std::string run(bool replacingBytes = false) {
    const Uploader uploader{.api = api,
                            .store = store,
                            .transport = transport,
                            .log = [this](const std::string& line) { log.push_back(line); },
                            .clock = clock.clock()};
    try {
      runBlocking(uploader.runRemaining(entry, replacingBytes));
      return {};
    } catch (const Error& error) {
      return error.description();
    }
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

  bool isOnDisk() const { return store.load(entry.id).has_value(); }

  TemporaryFolder folder;
  PendingUploadStore store{folder / "queue"};
  PendingUpload entry = PendingUpload::make("/video.mp4", std::nullopt, "Talk", 1'500'000, 2000, 640, 360);
  std::shared_ptr<ScriptedAPI> api = std::make_shared<ScriptedAPI>();
  std::shared_ptr<ScriptedTransport> transport = std::make_shared<ScriptedTransport>();
  VirtualClock clock;
  Lines log;
};

TEST_F(UploaderTest, TakesAllStepsInOrderAndRemovesTheEntry) {
  declareCaptions();
  EXPECT_EQ(run(), "");
  EXPECT_EQ(api->calls, (Lines{"create", "complete v1"}));
  EXPECT_EQ(transport->puts, (Lines{videoPut, thumbPut, captionsPut}));
  EXPECT_EQ(api->declared.at(0), CaptionsDeclaration::language("de"));
  EXPECT_TRUE(entry.completed);
  EXPECT_FALSE(isOnDisk());
  EXPECT_EQ(log, (Lines{"uploading video (1.5 MB)…", "  video 50%", "  video 100%", "uploading thumbnail…",
                        "  thumb 50%", "  thumb 100%", "uploading captions…", "  captions 50%",
                        "  captions 100%", "finalizing…", "done — https://q/slug"}));
}

TEST_F(UploaderTest, StaysOnDiskUntilTheServiceSaysReady) {
  api->status = "processing";
  EXPECT_EQ(run(), "");
  EXPECT_FALSE(entry.completed);
  EXPECT_TRUE(isOnDisk());
  EXPECT_EQ(log.back(), "finalizing…");
  api->status = "ready";
  EXPECT_EQ(run(), "");
  EXPECT_EQ(transport->puts.size(), 2u) << "nothing is sent again";
  EXPECT_FALSE(isOnDisk());
}

TEST_F(UploaderTest, TriesAPutThreeTimesIfThatMayHelp) {
  struct Case {
    std::deque<std::variant<UploadError, TransportError>> failures;
    std::size_t attempts;
    std::vector<int> sleeps;
    std::string error;
  };
  const TransportError lost(TransportError::Kind::interrupted, "connection lost");
  const std::vector<Case> cases = {
      {{refused(503)}, 2, {1}, ""},
      {{refused(500), lost}, 3, {1, 2}, ""},
      {{refused(503), refused(429), refused(-1), refused(500)}, 3, {1, 2}, "PUT failed (-1): why"},
      {{lost, lost, lost}, 3, {1, 2}, "connection lost"},
      {{refused(403)}, 1, {}, "PUT failed (403): why"},
      {{refused(499)}, 1, {}, "PUT failed (499): why"},
      {{UploadError(UploadError::BadReservation{})}, 1, {}, "missing/invalid upload reservation"},
  };
  entry.thumbPath.reset();
  for (const auto& [failures, attempts, sleeps, error] : cases) {
    entry.videoUploaded = entry.completed = false;
    transport->failures = failures;
    transport->puts.clear();
    clock.sleeps->clear();
    EXPECT_EQ(run(), error);
    EXPECT_EQ(transport->puts.size(), attempts) << error;
    EXPECT_EQ(*clock.sleeps, sleeps) << error;
  }
  EXPECT_EQ(log[1], "  video attempt 1 failed: PUT failed (503): why (retrying)");
  EXPECT_EQ(log.back(), "  video attempt 1 failed: missing/invalid upload reservation ");
}

TEST_F(UploaderTest, IsNotStoppedByAPoster) {
  entry.thumbPath = folder / "gone.jpg";
  EXPECT_EQ(run(), "");
  EXPECT_EQ(transport->puts, Lines{videoPut});
  EXPECT_TRUE(entry.thumbUploaded);

  entry = PendingUpload::make("/video.mp4", folder / "poster.jpg", "Talk", 1, 1, 1, 1);
  reserved(600);
  entry.videoUploaded = true;
  transport->failures.emplace_back(refused(403));
  EXPECT_EQ(run(), "");
  EXPECT_EQ(transport->puts.back(), thumbPut);
  EXPECT_TRUE(entry.completed);
}

TEST_F(UploaderTest, RefreshesALeaseAboutToLapseAndBelievesTheService) {
  reserved(60);
  entry.videoUploaded = true;
  entry.thumbUploaded = false;
  api->refreshed.videoPresent = false;
  api->refreshed.thumbPresent = true;
  EXPECT_EQ(run(), "");
  EXPECT_EQ(api->calls, (Lines{"refresh v1", "complete v1"}));
  EXPECT_EQ(transport->puts, Lines{"https://s/video2 video/mp4"});
  EXPECT_EQ(entry.shareURL, "https://q/slug") << "a link that was handed out never changes";
  EXPECT_EQ(entry.slug, std::nullopt);
  EXPECT_EQ(entry.presignExpiresAt, (Date{clock.time->secondsSince2001 + 3600}));
}

TEST_F(UploaderTest, ReplacesBytesByTheCallersFlagsWhileTheLeaseLasts) {
  reserved(61);
  entry.videoUploaded = true;
  EXPECT_EQ(run(true), "");
  EXPECT_EQ(api->calls, Lines{"complete v1"});
  EXPECT_EQ(transport->puts, Lines{thumbPut});

  reserved(60);
  entry.completed = false;
  api->refreshed.videoPresent = api->refreshed.thumbPresent = true;
  EXPECT_EQ(run(true), "");
  EXPECT_EQ(transport->puts.size(), 3u) << "what the service holds is out of date";
}

TEST_F(UploaderTest, SendsAgainWhatTheServiceHasReclaimed) {
  const APIError missing(APIError::Http{409, "gone", "object_missing"});
  api->completeErrors = {missing, APIError(APIError::Http{409, "gone", "captions_missing"})};
  EXPECT_EQ(run(), "");
  EXPECT_EQ(api->calls,
            (Lines{"create", "complete v1", "refresh v1", "complete v1", "refresh v1", "complete v1"}));
  EXPECT_EQ(transport->puts.size(), 6u);
  EXPECT_EQ(std::count(log.begin(), log.end(),
                       "bytes were reclaimed before finalize — re-uploading before retrying complete"),
            2);

  for (const auto& other :
       {APIError(APIError::Http{409, "no", "size_mismatch"}),
        APIError(APIError::Http{409, "no", std::nullopt}),
        APIError(APIError::Http{410, "no", "object_missing"}), APIError(APIError::TokenExpired{})}) {
    entry.completed = false;
    api->completeErrors = {other};
    EXPECT_EQ(run(), other.description());
    EXPECT_TRUE(entry.videoUploaded) << "a later run has only to complete";
  }

  api->completeErrors.assign(100, missing);
  api->calls.clear();
  EXPECT_EQ(run(), missing.description()) << "a service that keeps losing objects is left alone for a while";
  EXPECT_LT(api->calls.size(), 20u);
  EXPECT_FALSE(store.load(entry.id)->videoUploaded);
}

TEST_F(UploaderTest, SendsCaptionsOnlyWhereThatIsPossible) {
  struct Case {
    std::function<void()> change;
    std::string error;
    CaptionsDeclaration declared;
  };
  const std::vector<Case> cases = {
      {[&] { entry.captionsDeclared.reset(); }, "", CaptionsDeclaration::unchanged()},
      {[&] { entry.captionsPath.reset(); }, "", CaptionsDeclaration::none()},
      {[&] { entry.captionsPath = "/gone.vtt"; },
       "The captions file for this share is missing. Try sharing again.",
       {}},
      {[&] { api->captionsURL.reset(); },
       "The Quillant server can't take captions yet. Turn captions off in the Captions tab to share now.",
       {}},
  };
  for (const auto& [change, error, declared] : cases) {
    entry = PendingUpload::make("/video.mp4", std::nullopt, std::nullopt, 1, 1, 1, 1);
    declareCaptions();
    api->declared.clear();
    change();
    EXPECT_EQ(run(), error);
    EXPECT_TRUE(entry.videoUploaded);
    if (error.empty()) {
      EXPECT_EQ(api->declared.at(0), declared);
    }
  }
  EXPECT_EQ(std::count(transport->puts.begin(), transport->puts.end(), captionsPut), 0);
}

TEST_F(UploaderTest, StopsWhereTheEntryCannotBeSaved) {
  std::ofstream(store.directory) << "a file in the folder's place";
  EXPECT_NE(run(), "");
  EXPECT_TRUE(transport->puts.empty()) << "no byte is sent for a link that would be forgotten";
}

TEST(PresignedPut, ReportsEachTenthOnceAndShowsNoLongAnswers) {
  ScriptedHttpClient http;
  http.answer(200, "");
  http.answer(403, std::string(600, 'x'));
  http.answer(500, "\xFF");
  http.answers.emplace_back(TransportError(TransportError::Kind::notHTTP, "SSH-2.0"));
  std::vector<double> reports;
  const auto put = [&] {
    runBlocking(PresignedPut::upload(http, "/v", "https://s/v", "video/mp4",
                                     [&](double f) { reports.push_back(f); }));
  };
  put();
  const auto& request = http.requests.at(0);
  EXPECT_EQ(request.headers, (std::vector<HttpHeader>{{"Content-Type", "video/mp4"}}))
      << "the URL is the authority";
  for (int sent = 0; sent <= 100; ++sent) request.progress(sent, 100);
  request.progress(0, 0);
  EXPECT_EQ(reports, (std::vector<double>{0, .1, .2, .3, .4, .5, .6, .7, .8, .9, 1}));
  for (const auto& text : {"PUT failed (403): " + std::string(500, 'x'), std::string("PUT failed (500)"),
                           std::string("PUT failed (-1): no HTTP response")}) {
    try {
      put();
      ADD_FAILURE();
    } catch (const UploadError& error) {
      EXPECT_EQ(error.description(), text);
    }
  }
}

}  // namespace
}  // namespace quillant
