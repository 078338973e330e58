#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Core/Date.h"
#include "Core/OwningSequence.h"
#include "Core/Signal.h"
#include "Core/Task.h"
#include "QuillantShare/ShareState.h"
#include "QuillantShare/ShareUploading.h"

namespace quillant {

/// From a click to a link that is safe to send: the link is made and copied first, and what it shows follows
/// behind it. Whatever fails after that keeps the link, and everything later goes to the same one.
///
/// `safe` is said only while the service holds the bytes of the edit as it is. The right to send is taken
/// from the queue for each share, so that another program on the same project is met there and not at the
/// service.
///
/// Belongs to the main thread, whose executor it is given; its tasks are awaited there and keep it alive.
/// Nothing throws: what fails is a state.
class ShareController : public std::enable_shared_from_this<ShareController> {
 public:
  using Path = std::filesystem::path;
  using Progress = std::function<void(double)>;
  using ChangeRecord = std::function<void(ProjectShareRecord&)>;

  /// What it needs from outside, each asked on the main thread. What throws throws an exception of any kind.
  struct Parts {
    /// The project's record as it is stored. Throws.
    std::function<Task<ProjectShareRecord>()> record;
    /// Changes it where it is stored, and returns what was written. Throws.
    std::function<Task<ProjectShareRecord>(ChangeRecord)> changeRecord;
    /// Has `changed` called, on any thread, whenever the stored record may be another one, for as long as the
    /// connection lasts.
    std::function<Connection(std::function<void()> changed)> watchRecord;
    std::shared_ptr<ShareUploading> uploader;
    /// Completes the edit before it is rendered, when its link is there already. Throws.
    std::function<Task<>()> prepare = []() -> Task<> { co_return; };
    /// Writes the video of the edit as it is when this is called; whether it is a copy of the recording's
    /// samples. Throws. Progress, from 0 to 1, comes on any thread.
    std::function<Task<bool>(Path file, Progress)> render;
    /// The poster, and the captions if there are any, of the video that `render` wrote last to a `tempURL`:
    /// of the same edit. `captions` throws.
    std::function<Task<std::optional<Path>>(Path renderedFile)> poster;
    std::function<Task<std::optional<ShareCaptions>>()> captions;
    std::function<Task<CapDecision>(std::int64_t durationMs)> capCheck;
    std::function<Task<std::optional<UsageSnapshot>>()> usageProbe;
    std::function<ShareMetadata()> metadata;
    std::function<std::string()> fingerprint;      ///< The identity of the edit as it is.
    std::function<Task<>(std::string)> clipboard;  ///< Throws.
    std::function<Path()> tempURL;                 ///< Where the next render goes.
    std::function<Date()> now = Date::now;
    /// Awaited before it is looked whether an edit undid what made a link stale: while something is dragged
    /// edits come by the dozen, and the fingerprint of a large one takes longer than a frame.
    std::function<Task<>()> pause = []() -> Task<> { co_await sleepFor(std::chrono::milliseconds(200)); };
  };

  /// In the state that the record tells. Throws if it cannot be read.
  static Task<std::shared_ptr<ShareController>> make(Executor mainThread, Parts parts);

  // Published. `changed` is emitted after each change, and when `retryIsEditedBuild` may have.
  const ShareState& state() const { return state_; }
  /// None until a render has finished.
  std::optional<bool> renderWasPassthrough() const { return renderWasPassthrough_; }
  const std::optional<ShareUsage>& linksLeft() const { return linksLeft_; }
  /// Why the last `reshare` or `retry` was not begun: another program is at it, or the queue is not to be
  /// had. The state goes on saying what the link shows.
  const std::optional<std::string>& refusal() const { return refusal_; }
  Signal<> changed;

  // What is asked for while a share is going on does nothing.

  /// Makes the link, copies it, and sends what it is to show. Where there is a link already, copies that, and
  /// the state says what it shows.
  Task<> share();
  /// Sends the edit as it is behind a link that shows an earlier one.
  Task<> reshare();
  /// Sends what has not arrived: what is left of a rendering of this edit that is still there, or a new one.
  Task<> retry();
  /// Takes over the state: what a share comes to meanwhile is recorded, and not shown.
  Task<> saveToFile(Path file);
  /// To be called whenever the edit has changed.
  void editsDidChange();
  Task<> copyCurrentLink();

  std::optional<std::string> currentShareURL() const;
  std::optional<std::int64_t> uploadedSizeBytes() const;
  std::int64_t durationMs() const { return parts_.metadata().durationMs; }
  std::int64_t declaredHeight() const { return parts_.metadata().height; }
  /// "12s left", once there is enough to go by.
  std::optional<std::string> uploadEtaLabel() const;
  /// Whether the edit is another one than what was rendered last.
  bool retryIsEditedBuild() const;

 private:
  enum class ProgressPhase { render, upload, file };
  using Failure = std::optional<ShareStates::FailedAfterMint>;
  /// Who has the state: what comes late from whoever had it before changes nothing.
  using Turn = std::uint64_t;
  /// Something that reports progress is going on.
  struct Work {};

  ShareController(Executor mainThread, Parts parts);

  void show(Turn turn, ShareState state);
  /// For as long as `work` lives: what is reported later changes nothing.
  Progress progressOf(ProgressPhase phase, Turn turn, const std::shared_ptr<Work>& work);
  void setProgress(double value, ProgressPhase phase);
  std::optional<std::string> knownLink() const;
  /// Whether the record knows of a link. One that is on no more than its way is the queue's alone.
  bool isShared() const;
  bool canSend() const;
  ShareState recordedState() const;
  ShareState sentState(const std::string& shareURL) const;

  void watchRecord();
  void recordDidChange();
  static Task<> followRecord(std::shared_ptr<ShareController> self);
  static Task<> lookForUndoneEdits(std::weak_ptr<ShareController> weak, std::function<Task<>()> pause);
  Task<> readRecord();
  void note(ProjectShareRecord record);
  Task<> copy(std::string link);
  Task<> begin();
  /// What the state is to be is asked last, so that it knows every edit up to then.
  Task<> end(Turn turn, std::function<ShareState()> state);
  Task<std::optional<ShareState>> mint();
  Task<> send(std::string shareURL);
  Task<> conclude(Turn turn, std::string shareURL, Failure failure);
  Task<Failure> renderThenUpload(Turn turn, std::string shareURL);
  /// What was rendered; nothing: what is left of what was sent last.
  Task<Failure> upload(Turn turn, std::string shareURL, std::optional<RenderedShare> rendered);
  /// Unless the record says so already. Returns why it failed.
  Task<std::optional<std::string>> persistPending(std::string shareURL);
  /// The same.
  Task<std::optional<std::string>> persist(ProjectShareStatus status, std::string shareURL,
                                           std::optional<std::string> fingerprint);
  void refreshUsage();
  static Task<> probeUsage(std::weak_ptr<ShareController> weak);

  const Executor executor_;
  const OwningSequence sequence_{executor_};
  const Parts parts_;
  ShareState state_ = ShareStates::Ready{};
  std::optional<bool> renderWasPassthrough_;
  std::optional<ShareUsage> linksLeft_;
  std::optional<std::string> refusal_;

  ProjectShareRecord record_;                   ///< As it was read or written last.
  std::optional<std::string> sentFingerprint_;  ///< Of the edit that a live link shows, as far as is known.
  bool isBusy_ = true;                          ///< A share is going on, or the first state is still to come.
  bool isRecordOurs_ = false;     ///< The right to send is had, and with it that to write the record.
  bool hasMissedChange_ = false;  ///< Of the record by another program, while busy.
  bool isLookingForUndone_ = false;
  Turn turn_ = 0;
  std::optional<std::string> renderedFingerprint_;  ///< Of the edit that the last render was started from.
  bool uploadedThisSession_ = false;
  std::optional<Date> uploadStartedAt_;
  Connection recordConnection_;
};

}  // namespace quillant
