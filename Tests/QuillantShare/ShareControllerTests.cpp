#include <asio/io_context.hpp>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>

#include "QuillantCloud/APIError.h"
#include "QuillantCloud/UploadError.h"
#include "QuillantShare/ShareController.h"
#include "QuillantShare/ShareUploadError.h"

namespace quillant {
namespace {

using namespace ShareStates;

struct Broken : Error {
  Broken() : Error("broken") {}
};

/// What outlives the program: the disk, the service, the clipboard; and the edit that the user has made.
struct World {
  int edit = 0;
  ProjectShareRecord record;
  std::optional<PendingUpload> queued;
  std::map<std::string, std::string> files;  ///< What was rendered, by the edit's fingerprint.
  int reservations = 0;
  std::string object;  ///< The fingerprint of what the service holds.
  bool isLive = false;
  std::set<std::string> copied;
  bool isPrepared = false;
  bool isOtherAtIt = false;  ///< Another program sends an edit.
  Signal<> recordChanged;
  bool isHeard = true;  ///< The program has had the time to listen to that.

  // Of the program's run.
  bool isClaimed = false;
  std::function<bool()> fails = [] { return false; };
  std::exception_ptr mintRefusal;
  std::vector<ShareController::Progress> late;
  std::unique_ptr<asio::io_context> loop = std::make_unique<asio::io_context>(1);

  std::string fingerprint() const {
    if (edit < 0) return "unhashable";
    return "edit " + std::to_string(edit) + (isPrepared ? "" : ", not prepared");
  }
  Executor executor() const { return loop->get_executor(); }
  void tellOfRecord() {
    isHeard = false;
    recordChanged.emit();
  }
  /// Another program begins to send an edit to the link, or does what is left of it.
  void otherShares(int other) {
    if (!isOtherAtIt) {
      if (isClaimed || !record.slug) return;
      isOtherAtIt = isClaimed = true;
      record.status = ProjectShareStatus::pending;
      queued.emplace();
      queued->videoId = queued->slug = record.slug;
      queued->shareURL = record.shareURL;
      queued->editFingerprint = "edit " + std::to_string(other);
      queued->videoPath = "other " + std::to_string(files.size());
      files[queued->videoPath] = *queued->editFingerprint;
    } else {
      isOtherAtIt = isClaimed = false;
      resume();
    }
    tellOfRecord();
  }
  /// As a run of the queue does it.
  void resume() {
    if (!queued->videoUploaded) object = files.at(queued->videoPath);
    isLive = true;
    record.status = ProjectShareStatus::ready;
    record.lastUploadedEditFingerprint = queued->editFingerprint;
    if (record.slug == queued->slug) queued.reset();
  }
  /// A moment in which anything may happen, and the program may be killed.
  Task<> moment() {
    co_await asio::post(executor(), asio::use_awaitable);
    if (fails()) throw Broken();
  }
};

/// Work that reports, and goes on reporting when it has ended.
struct Reporting {
  World& world;
  ShareController::Progress report;
  ~Reporting() { world.late.push_back(report); }
};

/// The queue and the service, as `ShareUploader` and `Uploader` have them: each step may fail.
class WorldUploading : public ShareUploading {
 public:
  explicit WorldUploading(World& world) : world_(world) {}

  const std::optional<PendingUpload>& entry() const override { return entry_; }
  const std::optional<std::string>& sendableFingerprint() const override { return sendable_; }
  Task<> begin() override {
    co_await world_.moment();
    if (world_.isClaimed) throw UploadError(UploadError::UnderWay{7});
    world_.isClaimed = hasClaim_ = true;
  }
  Task<> end() override {
    co_await asio::post(world_.executor(), asio::use_awaitable);
    if (std::exchange(hasClaim_, false)) world_.isClaimed = false;
  }
  Task<> adopt(ProjectShareRecord record, ShareMetadata) override {
    co_await world_.moment();
    sendable_.reset();
    if (world_.queued) {
      entry_ = world_.queued;
      sendable_ = entry_->editFingerprint;
    } else if (!(entry_ && entry_->completed) && record.videoId) {
      entry_.emplace();
      entry_->videoId = record.videoId;
      entry_->slug = record.slug;
      entry_->shareURL = record.shareURL;
      entry_->completed = true;
    }
  }
  Task<std::string> mint(ShareMetadata) override {
    co_await world_.moment();
    if (world_.mintRefusal) std::rethrow_exception(world_.mintRefusal);
    const auto slug = std::to_string(++world_.reservations);
    co_await world_.moment();  // the one hole: reserved, and nobody knows
    entry_.emplace();
    entry_->videoId = entry_->slug = slug;
    entry_->shareURL = "https://q/" + slug;
    entry_->sizeBytes = placeholderSizeBytes;
    world_.queued = entry_;
    co_await world_.moment();
    co_return *entry_->shareURL;
  }
  Task<> uploadRendered(RenderedShare rendered, Progress progress) override {
    if (!entry_) throw ShareUploadError(ShareUploadError::Kind::noReservation);
    auto entry = *entry_;
    entry.videoPath = rendered.file;
    entry.editFingerprint = rendered.fingerprint;
    entry.videoUploaded = entry.completed = false;
    co_await world_.moment();
    world_.queued = entry_ = entry;
    co_await resumeUpload(std::move(progress));
  }
  Task<> resumeUpload(Progress progress) override {
    const Reporting reporting{world_, progress};
    progress(0.25);
    co_await world_.moment();
    if (!entry_->videoUploaded) world_.object = world_.files.at(entry_->videoPath);
    progress(1);
    co_await world_.moment();
    entry_->videoUploaded = true;
    world_.queued = entry_;
    co_await world_.moment();
    world_.isLive = true;
    co_await world_.moment();
    world_.queued.reset();
    entry_->completed = true;
  }

 private:
  World& world_;
  std::optional<PendingUpload> entry_;
  std::optional<std::string> sendable_;
  bool hasClaim_ = false;
};

ShareController::Parts partsOf(World& world) {
  return {
      .record = [&world]() -> Task<ProjectShareRecord> {
        co_await world.moment();
        co_return world.record;
      },
      .changeRecord = [&world](ShareController::ChangeRecord change) -> Task<ProjectShareRecord> {
        co_await world.moment();
        change(world.record);
        co_return world.record;
      },
      .watchRecord = [&world](auto changed) { return world.recordChanged.connect(changed); },
      .uploader = std::make_shared<WorldUploading>(world),
      .prepare = [&world]() -> Task<> {
        co_await world.moment();
        world.isPrepared = true;
      },
      .render = [&world](std::filesystem::path file, ShareController::Progress progress) -> Task<bool> {
        const auto fingerprint = world.fingerprint();
        const Reporting reporting{world, progress};
        progress(0.25);
        co_await world.moment();
        progress(0.75);
        co_await world.moment();
        world.files[file] = fingerprint;
        co_return false;
      },
      .poster = [&world](auto) -> Task<std::optional<std::filesystem::path>> {
        co_await asio::post(world.executor(), asio::use_awaitable);
        co_return std::nullopt;
      },
      .captions = [&world]() -> Task<std::optional<ShareCaptions>> {
        co_await world.moment();
        co_return std::nullopt;
      },
      .capCheck = [&world](std::int64_t durationMs) -> Task<CapDecision> {
        co_await world.moment();
        CapDecision decision;
        if (durationMs == 0) decision.over = CapReasons::Duration{179'999};
        co_return decision;
      },
      .usageProbe = [&world]() -> Task<std::optional<UsageSnapshot>> {
        co_await world.moment();
        co_return UsageSnapshot{.videos = 4, .maxVideos = 3};
      },
      .metadata = [] { return ShareMetadata{.durationMs = 1, .height = 1080}; },
      .fingerprint = [&world] { return world.fingerprint(); },
      .clipboard = [&world](std::string text) -> Task<> {
        co_await world.moment();
        world.copied.insert(text);
        co_await world.moment();
      },
      .tempURL = [&world] { return "render " + std::to_string(world.files.size()); },
      .pause = [&world]() -> Task<> { co_await asio::post(world.executor(), asio::use_awaitable); },
  };
}

/// A share and its world, driven a handler at a time.
class Play {
 public:
  /// In the place of the program that ran, which is killed where it is.
  void start() {
    controller.reset();
    world.loop = std::make_unique<asio::io_context>(1);
    world.isClaimed = world.isOtherAtIt;
    world.late.clear();
    const auto fails = std::exchange(world.fails, [] { return false; });
    asio::co_spawn(*world.loop, ShareController::make(world.executor(), partsOf(world)),
                   [this](std::exception_ptr, auto made) { controller = std::move(made); });
    while (!controller) world.loop->run_one();
    world.fails = fails;
    shown = controller->state();
    connection = controller->changed.connect([this] {
      steps.emplace_back(shown.index(), controller->state().index());
      shown = controller->state();
    });
  }
  void run(Task<> task) {
    asio::co_spawn(*world.loop, std::move(task), [](std::exception_ptr error) {
      if (error) problem("an exception left the controller");
    });
  }
  void drain() {
    world.loop->restart();
    world.loop->run();
    world.isHeard = true;
  }
  void changeEdit(int edit) {
    world.edit = edit;
    controller->editsDidChange();
  }
  template <class Case>
  const Case* as() const {
    return std::get_if<Case>(&controller->state());
  }
  static void problem(const std::string& text) { ADD_FAILURE() << text; }

  World world;
  std::shared_ptr<ShareController> controller;
  Connection connection;
  ShareState shown;
  std::vector<std::pair<std::size_t, std::size_t>> steps;
};

constexpr const char* names[] = {
    "cap",       "rendering",  "uploading",       "safe", "stale", "exportingFile",
    "fileSaved", "failedMint", "failedAfterMint", "ready"};

/// The table of transitions. Whoever presses Share where a link is known is told what is true of it.
bool isAllowed(std::size_t from, std::size_t to) {
  enum { cap, rendering, uploading, safe, stale, exporting, saved, failedMint, failedAfterMint, ready };
  const std::set<std::size_t> truth{safe, stale, failedAfterMint};
  const std::set<std::size_t> ofShare{cap, failedMint, rendering};
  switch (from) {
    case rendering:
      return std::set<std::size_t>{rendering, uploading, failedAfterMint, exporting}.contains(to);
    case uploading:
      return to == uploading || to == exporting || truth.contains(to);
    case safe:
      return to == exporting || truth.contains(to);
    case stale:
      return to == rendering || to == exporting || truth.contains(to);
    case failedAfterMint:
      return to == rendering || to == uploading || to == exporting || truth.contains(to);
    case exporting:
      return to == exporting || to == saved || to == ready || truth.contains(to) || ofShare.contains(to);
    default:
      return to == exporting || truth.contains(to) || ofShare.contains(to);
  }
}

/// One random life of a share. Returns what promise it broke, if any.
std::string broken(unsigned seed, std::string* told = nullptr) {
  std::mt19937 random(seed);
  const auto chance = [&](int of) { return random() % static_cast<unsigned>(of) == 0; };
  constexpr double lateMark = 0.5;
  Play play;
  auto& world = play.world;
  world.fails = [&] { return chance(12); };
  play.start();
  const auto violation = [&]() -> std::string {
    const bool isShown = world.isLive && !world.isOtherAtIt && world.object == world.fingerprint();
    if (play.as<Safe>() && world.isHeard && !isShown)
      return "safe, and the service holds " + world.object + ", not " + world.fingerprint();
    if (world.copied.size() > 1) return "two links were on the clipboard";
    const auto* rendering = play.as<Rendering>();
    const auto* uploading = play.as<Uploading>();
    const auto* exporting = play.as<ExportingFile>();
    if ((rendering && rendering->progress == lateMark) || (uploading && uploading->progress == lateMark) ||
        (exporting && exporting->progress == lateMark))
      return "a late report changed the state";
    for (const auto& [from, to] : play.steps)
      if (!isAllowed(from, to)) return std::string(names[from]) + " -> " + names[to];
    play.steps.clear();
    return "";
  };
  const auto act = [&] {
    auto& share = *play.controller;
    switch (const auto action = random() % 18) {
      case 0:
        return play.run(share.share());
      case 1:
        return play.run(share.retry());
      case 2:
        return play.run(share.reshare());
      case 3:
      case 4:
        return play.changeEdit(static_cast<int>(random() % 3));
      case 5:
        if (chance(3)) play.run(share.saveToFile("saved"));
        return;
      case 6:
        if (chance(3)) play.start();
        return;
      case 7:
        for (const auto& report : world.late) report(lateMark);
        return;
      case 8:  // another program resumes the queue
        if (world.isClaimed || !world.queued || world.queued->videoPath.empty()) return;
        world.resume();
        return world.tellOfRecord();
      case 9:
        // Where our word could not be written, the record is no warning to the other one, nor theirs to us.
        if (play.as<Safe>() && world.record.status != ProjectShareStatus::ready) return;
        return world.otherShares(static_cast<int>(random() % 3));
      default:
        world.loop->restart();
        for (auto count = action; count > 9; --count)
          if (world.loop->poll_one() == 0) world.isHeard = true;
    }
  };
  for (int step = 0; step < 40; ++step) {
    act();
    if (told) *told += std::string(" ") + names[play.controller->state().index()];
    if (auto what = violation(); !what.empty()) return what;
  }
  // And when nothing fails any more, a press or two of the button that is there lead to the end.
  world.fails = [] { return false; };
  if (world.isOtherAtIt) world.otherShares(0);
  play.drain();
  for (int press = 0; press < 4 && !play.as<Safe>(); ++press) {
    auto& share = *play.controller;
    play.run(play.as<Stale>() ? share.reshare() : play.as<FailedAfterMint>() ? share.retry() : share.share());
    play.drain();
    if (auto what = violation(); !what.empty()) return what;
  }
  return play.as<Safe>() ? "" : std::string("it ends in ") + names[play.controller->state().index()];
}

TEST(ShareController, KeepsItsPromisesInEveryOrderOfEvents) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  constexpr unsigned lives = 5'000;
#else
  constexpr unsigned lives = 100'000;
#endif
  for (unsigned seed = 0; seed < lives; ++seed) {
    const auto what = broken(seed);
    if (what.empty()) continue;
    std::string told;
    broken(seed, &told);
    FAIL() << "life " << seed << ": " << what << "\nits states:" << told;
  }
}

/// A share whose world does nothing by itself.
class ShareControllerTest : public testing::Test {
 protected:
  ShareControllerTest() { play.start(); }
  void share() {
    play.run(play.controller->share());
    play.drain();
  }
  template <class Case>
  void expectState(Case expected) {
    EXPECT_EQ(play.controller->state(), ShareState(std::move(expected)));
  }
  Play play;
  const std::string link = "https://q/1";
};

TEST_F(ShareControllerTest, SaysWhyThereIsNoLink) {
  const auto refused = [](int status, std::optional<std::string> code) {
    return std::make_exception_ptr(APIError(APIError::Http{status, "why", std::move(code)}));
  };
  const std::pair<std::exception_ptr, ShareState> cases[] = {
      {refused(403, "quota_exceeded"), Cap{CapReasons::Server{"server error 403: why code=quota_exceeded"}}},
      {refused(403, "banned"), FailedMint{"server error 403: why code=banned"}},
      {refused(403, "storage_exceeded"), Cap{CapReasons::Storage{}}},
      {refused(507, std::nullopt), Cap{CapReasons::Storage{}}},
      {std::make_exception_ptr(APIError(APIError::TokenExpired{})),
       FailedMint{"authentication expired — run `quillant login` again"}},
      {std::make_exception_ptr(UploadError(UploadError::UnderWay{7})),
       FailedMint{"the upload is under way in process 7"}},
  };
  for (const auto& [refusal, state] : cases) {
    play.world.mintRefusal = refusal;
    share();
    EXPECT_EQ(play.controller->state(), state);
    EXPECT_EQ(play.controller->currentShareURL(), std::nullopt);
  }
  EXPECT_TRUE(play.world.copied.empty());

  const std::string kept = "The full recording is saved on your computer; only the shareable copy is capped.";
  EXPECT_EQ(panelMessage(CapReasons::Videos{3}), "You're at your free plan's 3-video cloud limit. " + kept);
  EXPECT_EQ(panelMessage(CapReasons::Duration{179'999}),
            "This one is longer than the 2 min free links allow. " + kept);
  EXPECT_EQ(panelMessage(CapReasons::Storage{}), "You're out of free cloud storage. " + kept);
}

TEST_F(ShareControllerTest, KeepsTheLinkWhenStorageIsFullAndTheRecordCannotBeWritten) {
  share();
  expectState(Safe{link});
  EXPECT_EQ(play.controller->linksLeft(), (ShareUsage{.remaining = 0, .maxVideos = 3}));
  play.changeEdit(1);
  expectState(Stale{link});
  // The record goes on calling the old bytes safe: they stay.
  int moments = 0;
  play.world.fails = [&] { return ++moments == 4 || moments == 9; };
  play.run(play.controller->reshare());
  play.drain();
  expectState(FailedAfterMint{link, ShareFailPhase::upload, "broken"});
  EXPECT_EQ(play.world.object, "edit 0");
  play.changeEdit(0);
  play.run(play.controller->retry());
  play.drain();
  expectState(Safe{link});
  EXPECT_EQ(play.world.object, "edit 0");
  for (const auto& body : {std::optional<std::string>(R"({"code":"storage_exceeded"})"),
                           std::optional<std::string>("<Code>storage_exceeded</Code>")})
    EXPECT_EQ(capReasonOf(UploadError(UploadError::Put{403, body})), CapReason(CapReasons::Storage{}));
  EXPECT_EQ(capReasonOf(UploadError(UploadError::Put{507, std::nullopt})), CapReason(CapReasons::Storage{}));
  EXPECT_EQ(capReasonOf(UploadError(UploadError::Put{403, "AccessDenied"})), std::nullopt);
}

TEST_F(ShareControllerTest, DropsTheLinksStateForASavedFileUntilItIsAskedAgain) {
  share();
  play.run(play.controller->saveToFile("saved.mp4"));
  play.drain();
  expectState(FileSaved{"saved.mp4"});
  play.world.fails = [] { return true; };
  play.run(play.controller->saveToFile("saved.mp4"));
  play.drain();
  expectState(Ready{});
  play.world.fails = [] { return false; };
  share();
  expectState(Safe{link});
  EXPECT_EQ(play.world.reservations, 1);
}

TEST_F(ShareControllerTest, NeverCallsAnEditSafeThatItCannotTellFromOthers) {
  play.world.edit = -1;
  share();
  expectState(Stale{link});
  play.run(play.controller->reshare());
  play.drain();
  play.changeEdit(-1);
  play.drain();
  expectState(Stale{link});
}

TEST_F(ShareControllerTest, SaysWhyItCannotSendAndWhatTheLinkShowsMeanwhile) {
  share();
  play.world.isPrepared = true;
  play.changeEdit(1);
  play.world.isClaimed = true;
  play.run(play.controller->reshare());
  play.drain();
  expectState(Stale{link});
  EXPECT_EQ(play.controller->refusal(), "the upload is under way in process 7");
  play.world.isClaimed = false;
  play.world.otherShares(1);
  play.drain();
  EXPECT_TRUE(play.as<FailedAfterMint>()) << "the other one has not sent it yet";
  play.world.otherShares(1);
  play.drain();
  expectState(Safe{link});
  play.world.fails = [] { return true; };
  play.world.tellOfRecord();
  play.drain();
  expectState(FailedAfterMint{link, ShareFailPhase::upload, "broken"});
}

TEST_F(ShareControllerTest, TellsTheTimeThatIsLeft) {
  auto now = std::make_shared<Date>();
  auto parts = partsOf(play.world);
  parts.now = [now] { return *now; };
  asio::co_spawn(*play.world.loop, ShareController::make(play.world.executor(), std::move(parts)),
                 [this](std::exception_ptr, auto made) { play.controller = std::move(made); });
  play.drain();
  play.run(play.controller->share());
  play.world.loop->restart();
  while (!play.as<Uploading>() || play.as<Uploading>()->progress != 0.25) play.world.loop->run_one();
  EXPECT_EQ(play.controller->uploadEtaLabel(), std::nullopt) << "too early";
  now->secondsSince2001 += 2;
  EXPECT_EQ(play.controller->uploadEtaLabel(), "6s left");
  now->secondsSince2001 -= 1.24;
  EXPECT_EQ(play.controller->uploadEtaLabel(), "2s left");
}

}  // namespace
}  // namespace quillant
