#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

#include "Core/AtomicFile.h"
#include "Core/JSON.h"
#include "QuillantCloud/UploadQueueService.h"
#include "Tests/QuillantCloud/CloudFakes.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

using Service = UploadQueueService;
using Ids = std::vector<std::string>;

class UploadQueueServiceTest : public testing::Test {
 protected:
  static Date before(double seconds) { return Date{now.secondsSince2001 - seconds}; }

  /// Saves an entry that is `age` seconds old, with all sent but the last call.
  PendingUpload add(const std::string& id, double age, std::int64_t attempts = 0) {
    auto entry = PendingUpload::make("/" + id + ".mp4", std::nullopt, std::nullopt, 1, 1, 1, 1);
    entry.id = id;
    entry.createdAt = before(age);
    entry.attempts = attempts;
    entry.videoId = entry.shareURL = entry.putVideoURL = "https://q/" + id;
    entry.presignExpiresAt = before(-1000);
    entry.videoUploaded = true;
    store.save(entry);
    return entry;
  }
  void answer(const std::string& status) {
    http->answer(200, R"({"video_id":"v","slug":"s","status":")" + status + R"("})");
  }
  Service::RunResult resume(bool force = false) {
    return runBlocking(service.resumePending(QuillantAPI("token", http), now, force));
  }
  Service::EntryState firstState(bool signedIn = true) { return service.sweep(now, signedIn).at(0).state; }

  static inline const Date now = *Date::parseISO8601("2026-05-04T10:00:00Z");
  TemporaryFolder folder;
  PendingUploadStore store{folder / "queue"};
  std::shared_ptr<ScriptedHttpClient> http = std::make_shared<ScriptedHttpClient>();
  std::vector<std::string> log;
  Service service{.store = store,
                  .log = [this](const std::string& line) { log.push_back(line); },
                  .clock = VirtualClock().clock()};
};

TEST_F(UploadQueueServiceTest, WaitsTheWholePauseAndNotASecondMore) {
  const std::vector<std::pair<std::int64_t, double>> cases = {
      {INT64_MIN, 0}, {0, 0}, {1, 30}, {2, 60}, {7, 1920}, {8, 3600}, {5000, 3600}, {INT64_MAX, 3600}};
  for (const auto& [attempts, seconds] : cases) EXPECT_EQ(service.retryDelay(attempts), seconds) << attempts;

  auto entry = add("a", 100, 1);
  EXPECT_EQ(firstState(), Service::EntryState(Service::Eligible{})) << "never tried";
  entry.lastAttemptAt = before(29);
  store.save(entry);
  EXPECT_EQ(firstState(), Service::EntryState(Service::BackingOff{1}));
  EXPECT_EQ(firstState(false), Service::EntryState(Service::BlockedOnAuth{}));
  EXPECT_EQ(resume(), (Service::RunResult{.skippedBackoff = {"a"}}));

  http->answer(500, R"({"error":"busy"})");
  EXPECT_EQ(resume(true), (Service::RunResult{.stillPending = {"a"}})) << "force pays no heed to the pause";
  EXPECT_EQ(store.load("a")->attempts, 2);
  EXPECT_EQ(store.load("a")->lastError, "server error 500: busy");
  EXPECT_EQ(log.back(), "upload a failed (attempt 2); will retry in ~60s — recording safe at /a.mp4");

  entry.lastAttemptAt = before(30);
  store.save(entry);
  EXPECT_EQ(firstState(), Service::EntryState(Service::Eligible{}));
  answer("ready");
  EXPECT_EQ(resume(), (Service::RunResult{.completed = {"a"}}));
  EXPECT_TRUE(store.all().empty());
}

TEST_F(UploadQueueServiceTest, StopsAtAnExpiredSignInAndLeavesTheRestAlone) {
  add("12345678-9", 20, 3);
  const auto second = add("b", 10);
  http->answer(401, "");
  EXPECT_EQ(resume(), (Service::RunResult{.stillPending = {"12345678-9"}, .needAuth = true}));
  const auto blocked = *store.load("12345678-9");
  EXPECT_EQ(blocked.attempts, 3) << "the upload did not fail";
  EXPECT_EQ(blocked.lastError, "authentication expired — run `quillant login`");
  EXPECT_EQ(blocked.lastAttemptAt, now);
  EXPECT_EQ(store.load("b"), second);
  EXPECT_EQ(log.back(), "upload 12345678 is waiting for sign-in — recording is safe at /12345678-9.mp4");
  EXPECT_EQ(firstState(), Service::EntryState(Service::BlockedOnAuth{}));

  answer("ready");
  answer("processing");
  EXPECT_EQ(resume(true), (Service::RunResult{.completed = {"12345678-9"}, .stillPending = {"b"}}))
      << "the service's answer decides, not the flag";
  EXPECT_EQ(store.load("b")->attempts, 0);
}

TEST_F(UploadQueueServiceTest, ReadsTheGoodFilesAndLeavesTheOthers) {
  add("young", 10);
  add("old", 30);
  auto done = add("done", 20);
  done.completed = true;
  store.save(done);
  const auto good = AtomicFile::read(store.directory / "old.json");
  const std::vector<std::pair<std::string, std::string>> others = {
      {"half.json", good.substr(0, good.size() / 2)},
      {"empty.json", ""},
      {"wrong.json", R"({"id": 7})"},
      {"date.json", R"({"lastAttemptAt": "soon", )" + good.substr(1)},
      {"notes.txt", good},
      {".old.json.XyZ123", good},
  };
  for (const auto& [name, contents] : others) std::ofstream(store.directory / name) << contents;
  std::filesystem::create_directory(store.directory / "folder.json");

  Ids ids;
  for (const auto& entry : store.all()) ids.push_back(entry.id);
  EXPECT_EQ(ids, (Ids{"old", "done", "young"}));
  answer("ready");
  answer("ready");
  EXPECT_EQ(resume(), (Service::RunResult{.completed = {"old", "young"}}));
  EXPECT_TRUE(store.all().empty()) << "what was finished, and not removed, is removed now";
  for (const auto& [name, contents] : others) EXPECT_EQ(AtomicFile::read(store.directory / name), contents);
}

TEST(PendingUpload, IsWrittenAsItAlwaysWasAndReadAsEarlierVersionsWroteIt) {
  const std::string whole =
      R"({"attempts":2,"blockedOnAuth":true,"captionsDeclared":true,"captionsLanguage":"de",)"
      R"("captionsPath":"/c.vtt","captionsUploaded":false,"completed":false,"createdAt":"2026-05-04T10:00:00Z",)"
      R"("durationMs":2000,"height":360,"id":"7E57","lastAttemptAt":"2026-05-04T09:00:00Z","lastError":"lost",)"
      R"("presignExpiresAt":"2026-05-04T11:00:00Z","putCaptionsURL":"c","putThumbURL":"t","putVideoURL":"v",)"
      R"("shareURL":"q","sizeBytes":1500,"slug":"s","thumbPath":"/t.jpg","thumbUploaded":true,"title":"Talk",)"
      R"("videoId":"v","videoPath":"/v.mp4","videoUploaded":true,"width":640})";
  EXPECT_EQ(JSON::compact(JSON::decode<PendingUpload>(JSON::parse(whole))), whole);

  const auto early = JSON::parse(R"({"id":"7E57","createdAt":"2026-05-04T10:00:00Z","videoPath":"/v.mp4",
    "sizeBytes":1,"durationMs":1,"width":1,"height":1,"videoUploaded":false,"thumbUploaded":false,
    "completed":false,"attempts":0,"title":null,"somethingNew":[1]})");
  EXPECT_EQ(JSON::decode<PendingUpload>(early).captionsDeclaration(), CaptionsDeclaration::unchanged());
  for (const auto* key : {"id", "createdAt", "sizeBytes", "thumbUploaded", "attempts"}) {
    auto without = early;
    without.erase(key);
    EXPECT_THROW(JSON::decode<PendingUpload>(without), JSONError) << key;
  }
}

}  // namespace
}  // namespace quillant
