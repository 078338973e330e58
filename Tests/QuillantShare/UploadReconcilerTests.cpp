#include <fstream>
#include <gtest/gtest.h>

#include "Core/UUID.h"
#include "QuillantCloud/HttpUploadTransport.h"
#include "QuillantCloud/QuillantAPI.h"
#include "QuillantShare/UploadReconciler.h"
#include "Tests/QuillantCloud/CloudFakes.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

using Summary = UploadReconciler::Summary;

class UploadReconcilerTest : public testing::Test {
 protected:
  /// A project with a link, and its upload with all sent but the last call.
  std::string add(const std::string& slug, double age) {
    const auto id = UUID::random().text();
    ProjectStore::CreateOptions options{.id = id, .title = slug};
    runBlocking(library.registerRecording({.screenVideoPath = "/" + id + ".mp4"}, std::move(options)));
    runBlocking(library.updateShare(id, [&](ProjectShareRecord& record) {
      record = {.slug = slug,
                .shareURL = "https://q/" + slug,
                .status = ProjectShareStatus::pending,
                .lastUploadedEditFingerprint = "older",
                .videoId = slug};
    }));
    auto entry = PendingUpload::make("/render.mp4", std::nullopt, slug, 5, 1, 1, 1);
    entry.id = id;
    entry.createdAt = Date{now.secondsSince2001 - age};
    entry.videoId = entry.slug = slug;
    entry.shareURL = "https://q/" + slug;
    entry.putVideoURL = "https://s/" + slug;
    entry.presignExpiresAt = Date{now.secondsSince2001 + 1000};
    entry.videoUploaded = true;
    entry.editFingerprint = "edit of " + slug;
    entry.lastAttemptAt = now;
    entry.attempts = 7;
    queue.save(entry);
    return id;
  }
  ProjectShareRecord record(const std::string& id) { return runBlocking(library.project(id)).document.share; }
  Summary reconcile(UploadReconciler::Occasion occasion = UploadReconciler::Occasion::launch) {
    return runBlocking(reconciler.reconcile(now, occasion));
  }
  static void expectCounts(const Summary& summary, int completed, int failed, int blocked) {
    EXPECT_EQ(summary.completed, completed);
    EXPECT_EQ(summary.failed, failed);
    EXPECT_EQ(summary.blocked, blocked);
  }

  static inline const Date now = *Date::parseISO8601("2026-05-04T10:00:00Z");
  TemporaryFolder folder;
  ProjectLibrary library{folder / "projects"};
  PendingUploadStore queue{folder / "queue"};
  std::shared_ptr<ScriptedHttpClient> http = std::make_shared<ScriptedHttpClient>();
  std::vector<std::string> log;
  UploadReconciler reconciler{.projects = library,
                              .queue = queue,
                              .api = std::make_shared<QuillantAPI>("token", http),
                              .transport = std::make_shared<HttpUploadTransport>(http),
                              .log = [this](const std::string& line) { log.push_back(line); },
                              .clock = VirtualClock().clock()};
};

TEST_F(UploadReconcilerTest, BringsEveryUploadAndItsProjectToTheTruth) {
  expectCounts(reconcile(), 0, 0, 0);
  const auto live = add("live", 30);
  const auto failed = add("failed", 20);
  const auto blocked = add("blocked", 10);
  const auto odd = add("odd", 7);
  const auto finished = add("finished", 5);
  auto done = *queue.load(finished);
  done.completed = true;
  queue.save(done);
  http->answer(200, R"({"video_id":"v","slug":"s","status":"ready"})");
  http->answer(500, "");
  http->answer(401, "");
  // One attempt each, whatever their back-off; to the last the script has no answer, and throws what is no
  // `Error`.
  expectCounts(reconcile(), 1, 2, 1);
  EXPECT_EQ(queue.load(odd)->attempts, 8);

  EXPECT_EQ(record(live).status, ProjectShareStatus::ready);
  EXPECT_EQ(record(live).lastUploadedEditFingerprint, "edit of live") << "what the link shows now";
  EXPECT_FALSE(queue.load(live));
  EXPECT_EQ(record(failed).lastUploadError,
            "Your link was copied but the upload didn't finish. Retry to send it — the link stays the same.");
  EXPECT_EQ(record(failed).lastUploadedEditFingerprint, "older");
  EXPECT_EQ(queue.load(failed)->attempts, 8);
  EXPECT_EQ(record(blocked).lastUploadError,
            "Sign in again to finish sending this link — it stays the same.");
  EXPECT_EQ(queue.load(blocked)->attempts, 7);
  EXPECT_EQ(queue.load(blocked)->lastError, "authentication expired — sign in again");
  EXPECT_EQ(record(finished).status, ProjectShareStatus::ready) << "its process died before it could tell";
  EXPECT_EQ(record(finished).lastUploadedEditFingerprint, "edit of finished");
  EXPECT_FALSE(queue.load(finished));
  const auto named = [](const std::string& id) { return "upload " + id.substr(0, 8); };
  EXPECT_EQ(log.at(log.size() - 5),
            named(failed) + " resume failed (attempt 8) — recording safe at /render.mp4");
  EXPECT_EQ(log.at(log.size() - 3),
            named(blocked) + " is waiting for sign-in — recording is safe at /render.mp4");
}

TEST_F(UploadReconcilerTest, LeavesWhatOthersHaveAndGoesOnWithoutAProject) {
  const auto taken = add("taken", 20);
  const auto lost = add("lost", 10);
  runBlocking(library.delete_(lost));
  const auto claim = queue.claim(taken);
  http->answer(200, R"({"video_id":"v","slug":"s","status":"ready"})");
  expectCounts(reconcile(), 1, 0, 0);
  EXPECT_EQ(record(taken).status, ProjectShareStatus::pending);
  EXPECT_EQ(queue.all().size(), 1U);
}

TEST_F(UploadReconcilerTest, TellsEveryProjectThatWaitsForASignInAndTriesOneForItsUser) {
  const auto first = add("first", 20);
  const auto second = add("second", 10);
  const auto untouched = queue.load(second);
  expectCounts(reconcile(UploadReconciler::Occasion::command), 0, 0, 0);  // both are backing off
  http->answer(401, "");
  const auto summary = reconcile(UploadReconciler::Occasion::force);
  EXPECT_EQ(summary.run, (UploadQueueService::RunResult{.stillPending = {first}, .needAuth = true}));
  EXPECT_EQ(queue.load(second), untouched);
  for (const auto& id : {first, second})
    EXPECT_EQ(record(id).lastUploadError, "Sign in again to finish sending this link — it stays the same.");
}

}  // namespace
}  // namespace quillant
