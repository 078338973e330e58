#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Core/AtomicFile.h"
#include "Core/JSON.h"
#include "QuillantCloud/HttpUploadTransport.h"
#include "QuillantCloud/QuillantAPI.h"
#include "QuillantCloud/UploadError.h"
#include "QuillantCloud/UploadQueueService.h"
#include "Tests/QuillantCloud/CloudFakes.h"
#include "Tests/Support/TemporaryFolder.h"

namespace {
int lockError = 0;  ///< What locking a file fails with in this program; 0 for nothing.
}  // namespace

extern "C" int fcntl(int file, int command, ...) {
  va_list rest;
  va_start(rest, command);
  auto* argument = va_arg(rest, void*);
  va_end(rest);
  if (lockError == 0 || (command != F_OFD_SETLK && command != F_OFD_GETLK))
    return static_cast<int>(::syscall(SYS_fcntl, file, command, argument));
  errno = lockError;
  return -1;
}

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
    const auto occasion = force ? Service::Occasion::force : Service::Occasion::command;
    return runBlocking(service.resumePending(std::make_shared<QuillantAPI>("token", http), now, occasion));
  }
  Service::EntryState firstState(bool signedIn = true) { return service.sweep(now, signedIn).at(0).state; }

  const std::string a = "AAAAAAAA-0000-4000-8000-000000000000";
  const std::string b = "BBBBBBBB-0000-4000-8000-000000000000";
  const std::string c = "CCCCCCCC-0000-4000-8000-000000000000";
  const std::string d = "DDDDDDDD-0000-4000-8000-000000000000";
  static inline const Date now = *Date::parseISO8601("2026-05-04T10:00:00Z");
  TemporaryFolder folder;
  PendingUploadStore store{folder / "queue"};
  std::shared_ptr<ScriptedHttpClient> http = std::make_shared<ScriptedHttpClient>();
  std::vector<std::string> log;
  Service service{.store = store,
                  .transport = std::make_shared<HttpUploadTransport>(http),
                  .log = [this](const std::string& line) { log.push_back(line); },
                  .clock = VirtualClock().clock()};
};

TEST_F(UploadQueueServiceTest, WaitsTheWholePauseAndNotASecondMore) {
  const std::vector<std::pair<std::int64_t, double>> cases = {
      {INT64_MIN, 0}, {0, 0}, {1, 30}, {2, 60}, {7, 1920}, {8, 3600}, {5000, 3600}, {INT64_MAX, 3600}};
  for (const auto& [attempts, seconds] : cases) EXPECT_EQ(service.retryDelay(attempts), seconds) << attempts;

  auto entry = add(a, 100, 1);
  EXPECT_EQ(firstState(), Service::EntryState(Service::Eligible{})) << "never tried";
  entry.lastAttemptAt = before(29);
  store.save(entry);
  EXPECT_EQ(firstState(), Service::EntryState(Service::BackingOff{1}));
  EXPECT_EQ(firstState(false), Service::EntryState(Service::BlockedOnAuth{}));
  EXPECT_EQ(resume(), (Service::RunResult{.skippedBackoff = {a}}));

  http->answer(500, R"({"error":"busy"})");
  EXPECT_EQ(resume(true), (Service::RunResult{.stillPending = {a}})) << "force pays no heed to the pause";
  EXPECT_EQ(store.load(a)->attempts, 2);
  EXPECT_EQ(store.load(a)->lastError, "server error 500: busy");
  EXPECT_EQ(log.back(),
            "upload AAAAAAAA failed (attempt 2); will retry in ~60s — recording safe at /" + a + ".mp4");

  entry.lastAttemptAt = before(30);
  store.save(entry);
  EXPECT_EQ(firstState(), Service::EntryState(Service::Eligible{}));
  answer("ready");
  EXPECT_EQ(resume(), (Service::RunResult{.completed = {a}}));
  EXPECT_TRUE(store.all().empty());
}

TEST_F(UploadQueueServiceTest, StopsAtAnExpiredSignInAndLeavesTheRestAlone) {
  add(a, 20, 3);
  const auto second = add(b, 10);
  http->answer(401, "");
  EXPECT_EQ(resume(), (Service::RunResult{.stillPending = {a}, .needAuth = true}));
  const auto blocked = *store.load(a);
  EXPECT_EQ(blocked.attempts, 3) << "the upload did not fail";
  EXPECT_EQ(blocked.lastError, "authentication expired — run `quillant login`");
  EXPECT_EQ(blocked.lastAttemptAt, now);
  EXPECT_EQ(store.load(b), second);
  EXPECT_EQ(log.back(), "upload AAAAAAAA is waiting for sign-in — recording is safe at /" + a + ".mp4");
  EXPECT_EQ(firstState(), Service::EntryState(Service::BlockedOnAuth{}));

  answer("ready");
  answer("processing");
  EXPECT_EQ(resume(true), (Service::RunResult{.completed = {a}, .stillPending = {b}}))
      << "the service's answer decides, not the flag";
  EXPECT_EQ(store.load(b)->attempts, 0);
}

TEST_F(UploadQueueServiceTest, LeavesAnEntryToWhoeverHasItAndReadsItAgainAfterwards) {
  add(a, 20);
  add(b, 10);
  auto other = store.claim(a);
  EXPECT_FALSE(store.claim(a));
  EXPECT_EQ(firstState(), Service::EntryState(Service::UnderWay{::getpid()}));
  answer("ready");
  EXPECT_EQ(resume(), (Service::RunResult{.completed = {b}, .underWay = {a}}));
  EXPECT_EQ(log.front(), "upload AAAAAAAA is under way in process " + std::to_string(::getpid()));
  other.reset();
  EXPECT_EQ(firstState(), Service::EntryState(Service::Eligible{}));

  add(b, 10);
  http->onRequest = [&] { store.remove(b); };  // as another program does that finishes it meanwhile
  answer("ready");
  EXPECT_EQ(resume(), (Service::RunResult{.completed = {a}}));
  EXPECT_TRUE(std::filesystem::is_empty(store.directory));
}

TEST_F(UploadQueueServiceTest, RunsAnEntryOnceWhereTheFileSystemKnowsNoLocks) {
  add(a, 20);
  lockError = ENOLCK;
  auto other = store.claim(a);
  EXPECT_EQ(firstState(), Service::EntryState(Service::UnderWay{::getpid()}));
  EXPECT_EQ(resume(), (Service::RunResult{.underWay = {a}}));
  other.reset();
  if (const pid_t child = ::fork(); child == 0) {
    const auto held = store.claim(a);
    ::_exit(0);
  } else {
    ::waitpid(child, nullptr, 0);
  }
  EXPECT_EQ(firstState(), Service::EntryState(Service::Eligible{})) << "its owner was killed";
  answer("ready");
  EXPECT_EQ(resume(), (Service::RunResult{.completed = {a}}));
  EXPECT_TRUE(std::filesystem::is_empty(store.directory));
  lockError = EIO;
  EXPECT_THROW(store.claim(a), FileError) << "a failure is not leave to go on";
  lockError = 0;
}

TEST_F(UploadQueueServiceTest, NeitherCancellationsNorClocksThatWereWrongCount) {
  auto entry = add(a, 20, 3);
  add(b, 10);
  http->answers.emplace_back(TransportError(TransportError::Kind::cancelled, "ended"));
  EXPECT_EQ(resume(), (Service::RunResult{.stillPending = {a}, .cancelled = true}));
  EXPECT_EQ(store.load(a), entry);
  entry.lastAttemptAt = before(-1e8);
  store.save(entry);
  EXPECT_EQ(firstState(), Service::EntryState(Service::Eligible{}));
  answer("ready");
  answer("ready");
  EXPECT_EQ(resume(), (Service::RunResult{.completed = {a, b}}));
}

TEST_F(UploadQueueServiceTest, SaysEachTimeThatAFileHasChangedAndTriesNothing) {
  auto entry = add(a, 20, 1);
  entry.videoPath = folder / "talk.mp4";
  std::ofstream(entry.videoPath) << "two";
  entry.videoUploaded = false;
  entry.lastAttemptAt = now;
  store.save(entry);
  EXPECT_EQ(firstState(), Service::EntryState(UploadError::SizeChanged{1, 3}));
  for (int run = 0; run < 2; ++run) {
    EXPECT_EQ(resume(), (Service::RunResult{.changed = {a}})) << "in no pause";
    EXPECT_EQ(log.back(),
              "upload AAAAAAAA cannot go on: the file has changed since it was queued (1 bytes "
              "then, 3 now); upload it again — " +
                  entry.videoPath);
    log.clear();
  }
  EXPECT_EQ(store.load(a)->attempts, 1);
}

TEST_F(UploadQueueServiceTest, ReadsItsOwnFilesSweepsWhatKillsLeftAndLeavesTheOthers) {
  add(c, 10);
  add(a, 30);
  auto done = add(b, 20);
  done.completed = true;
  store.save(done);
  const auto file = [&](const std::string& name) { return store.directory / name; };
  const auto good = AtomicFile::read(file(a + ".json"));
  const std::vector<std::pair<std::string, std::string>> others = {
      {d + ".json", good},
      {"E" + d.substr(1) + ".json", good.substr(0, good.size() / 2)},
      {"F" + d.substr(1) + ".json", R"({"id": 7})"},
      {"entry.json", good},
      {"notes.txt", good},
      {".notes.json.XyZ123", good},
      {d + ".jpg", "the poster of an entry that cannot be read"},
  };
  for (const auto& [name, contents] : others) std::ofstream(file(name)) << contents;
  const auto idOf = [&](char letter) { return std::string(8, letter) + d.substr(8); };
  const std::string litter[] = {"." + a + ".json.XyZ123",
                                idOf('1') + ".jpg",
                                idOf('2') + ".lock",
                                "video-0af3.lock",
                                "." + idOf('3') + ".jpg.XyZ123",
                                "quillant-share-lost.mp4",
                                ".quillant-share-lost.mp4.half"};
  for (const auto& name : litter) std::ofstream(file(name)) << "half";
  const auto made = [&] {
    std::size_t count = 0;
    for (const auto& found : std::filesystem::directory_iterator(store.directory))
      count += found.path().filename().string().starts_with("quillant-") ? 1 : 0;
    return count;
  };
  done.id = idOf('7');
  done.createdAt = before(15);
  done.completed = false;
  done.thumbPath = store.newFile("poster", ".jpg");
  done.captionsPath = store.newFile("captions", ".vtt");
  std::ofstream(*done.thumbPath) << "superseded";
  std::ofstream(*done.captionsPath) << "made for the upload";
  store.save(done);
  done.thumbPath.reset();
  store.replace(done);
  {
    const auto claim = store.claim(a);
    store.removeLitter();
    EXPECT_EQ(made(), 2U) << "somebody may be about to name the other one";
  }
  ASSERT_EQ(::mkfifo(file(idOf('4') + ".json").c_str(), 0600), 0);
  std::filesystem::create_symlink(a + ".json", file(idOf('5') + ".json"));
  std::filesystem::create_directory(file(idOf('6') + ".json"));

  Ids ids;
  for (const auto& entry : store.all()) ids.push_back(entry.id);
  EXPECT_EQ(ids, (Ids{a, b, idOf('7'), c}));
  for (int run = 0; run < 3; ++run) answer("ready");
  EXPECT_EQ(resume(), (Service::RunResult{.completed = {a, idOf('7'), c}}));
  EXPECT_EQ(made(), 0U) << "what was made for an upload goes with it";
  EXPECT_TRUE(store.all().empty()) << "what was finished, and not removed, is removed now";
  for (const auto& [name, contents] : others) EXPECT_EQ(AtomicFile::read(file(name)), contents);
  for (const auto& name : litter) EXPECT_FALSE(std::filesystem::exists(file(name))) << name;
}

TEST_F(UploadQueueServiceTest, SendsNothingThatSomebodyElseMayHavePutThere) {
  auto entry = add(a, 10);
  std::filesystem::permissions(store.directory, std::filesystem::perms(0777));
  EXPECT_EQ(store.all().size(), 1u);
  EXPECT_EQ(std::filesystem::status(store.directory).permissions(), std::filesystem::perms(0700));
  EXPECT_FALSE(store.load("../queue/" + a));
  std::filesystem::rename(store.directory, folder / "elsewhere");
  std::filesystem::create_directory_symlink(folder / "elsewhere", store.directory);
  EXPECT_THROW(resume(), FileError);
  std::filesystem::remove(store.directory);
  entry.captionsPath = "/\xFF.vtt";
  EXPECT_THROW(store.save(entry), UploadError) << "it could not be found again";
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
