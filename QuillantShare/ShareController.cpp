#include "QuillantShare/ShareController.h"

#include <cassert>
#include <cmath>
#include <exception>
#include <fmt/format.h>
#include <utility>

#include "Core/Error.h"
#include "Core/Log.h"

namespace quillant {

using namespace ShareStates;

namespace {

/// The link of a state that has one.
std::optional<std::string> linkOf(const ShareState& state) {
  if (const auto* safe = std::get_if<Safe>(&state)) return safe->shareURL;
  if (const auto* stale = std::get_if<Stale>(&state)) return stale->shareURL;
  if (const auto* failed = std::get_if<FailedAfterMint>(&state)) return failed->shareURL;
  return std::nullopt;
}

}  // namespace

ShareController::ShareController(Executor mainThread, Parts parts)
    : executor_(std::move(mainThread)), parts_(std::move(parts)) {}

Task<std::shared_ptr<ShareController>> ShareController::make(Executor mainThread, Parts parts) {
  const std::shared_ptr<ShareController> controller(
      new ShareController(std::move(mainThread), std::move(parts)));
  controller->watchRecord();
  co_await controller->readRecord();
  co_await controller->parts_.uploader->adopt(controller->record_, controller->parts_.metadata());
  controller->isBusy_ = false;
  controller->state_ = controller->recordedState();
  if (controller->hasMissedChange_) controller->recordDidChange();
  if (controller->record_.status == ProjectShareStatus::ready) controller->refreshUsage();
  co_return controller;
}

// ---- State ----

void ShareController::show(Turn turn, ShareState state) {
  if (turn != turn_) return;
  state_ = std::move(state);
  changed.emit();
}

ShareController::Progress ShareController::progressOf(ProgressPhase phase, Turn turn,
                                                      const std::shared_ptr<Work>& work) {
  return
      [executor = executor_, weak = weak_from_this(), work = std::weak_ptr(work), phase, turn](double value) {
        asio::post(executor, [weak, work, phase, turn, value] {
          const auto self = weak.lock();
          if (self && self->turn_ == turn && !work.expired()) self->setProgress(value, phase);
        });
      };
}

void ShareController::setProgress(double value, ProgressPhase phase) {
  if (auto* rendering = std::get_if<Rendering>(&state_); rendering && phase == ProgressPhase::render)
    rendering->progress = value;
  else if (auto* uploading = std::get_if<Uploading>(&state_); uploading && phase == ProgressPhase::upload)
    uploading->progress = value;
  else if (auto* file = std::get_if<ExportingFile>(&state_); file && phase == ProgressPhase::file)
    file->progress = value;
  else
    return;
  changed.emit();
}

std::optional<std::string> ShareController::knownLink() const {
  const auto queued = parts_.uploader->shareURL();
  return queued ? queued : record_.shareURL;
}

bool ShareController::isShared() const {
  return record_.shareURL && record_.status != ProjectShareStatus::none;
}

/// Where nothing can be sent to the link there is no use in saying that it is out of date.
bool ShareController::canSend() const {
  return record_.videoId || parts_.uploader->hasReservation();
}

ShareState ShareController::recordedState() const {
  if (!isShared()) return Ready{};
  const auto& link = *record_.shareURL;
  if (record_.status == ProjectShareStatus::pending)
    return FailedAfterMint{link, ShareFailPhase::upload, record_.lastUploadError.value_or(unfinishedUpload)};
  if (canSend() && isOutdated(record_, parts_.fingerprint())) return Stale{link};
  return Safe{link};
}

/// After an upload. The record is not asked: it may be on a disk that is full.
ShareState ShareController::sentState(const std::string& shareURL) const {
  if (isSameEdit(sentFingerprint_, parts_.fingerprint())) return Safe{shareURL};
  return Stale{shareURL};
}

std::optional<std::string> ShareController::currentShareURL() const {
  assert(sequence_.isCurrent());
  const auto shown = linkOf(state_);
  return shown ? shown : knownLink();
}

std::optional<std::int64_t> ShareController::uploadedSizeBytes() const {
  assert(sequence_.isCurrent());
  const auto& entry = parts_.uploader->entry();
  const bool isReal = entry && entry->sizeBytes > ShareUploading::placeholderSizeBytes;
  return isReal ? std::optional(entry->sizeBytes) : record_.uploadedSizeBytes;
}

std::optional<std::string> ShareController::uploadEtaLabel() const {
  assert(sequence_.isCurrent());
  constexpr double leastProgress = 0.02;
  constexpr double leastSeconds = 0.75;
  const auto* uploading = std::get_if<Uploading>(&state_);
  if (!uploading || !uploadStartedAt_ || uploading->progress <= leastProgress || uploading->progress >= 1)
    return std::nullopt;
  const double elapsed = parts_.now().secondsSince2001 - uploadStartedAt_->secondsSince2001;
  if (elapsed <= leastSeconds) return std::nullopt;
  const auto remaining = std::llround((1 - uploading->progress) * elapsed / uploading->progress);
  return remaining < 1 ? "almost done" : fmt::format("{}s left", remaining);
}

bool ShareController::retryIsEditedBuild() const {
  return renderedFingerprint_ && !isSameEdit(renderedFingerprint_, parts_.fingerprint());
}

// ---- The record ----

void ShareController::watchRecord() {
  recordConnection_ = parts_.watchRecord([executor = executor_, weak = weak_from_this()] {
    asio::post(executor, [weak] {
      if (const auto self = weak.lock()) self->recordDidChange();
    });
  });
}

void ShareController::recordDidChange() {
  assert(sequence_.isCurrent());
  if (isRecordOurs_) return;
  hasMissedChange_ = isBusy_;
  if (!isBusy_ && linkOf(state_)) startDetached(executor_, followRecord(shared_from_this()));
}

/// Brings a state that has a link to what is stored: another program may have sent another edit.
Task<> ShareController::followRecord(std::shared_ptr<ShareController> self) {
  const auto turn = self->turn_;
  std::optional<ProjectShareRecord> record;
  std::string error;
  try {
    record = co_await self->parts_.record();
  } catch (...) {
    error = describe(std::current_exception());
  }
  if (turn != self->turn_ || self->isBusy_ || !linkOf(self->state_)) co_return;
  const auto& shown = self->state_;
  if (!record) {
    // What nobody vouches for is not safe.
    if (const auto* safe = std::get_if<Safe>(&shown))
      self->show(turn, FailedAfterMint{std::string(safe->shareURL), ShareFailPhase::upload, error});
    co_return;
  }
  self->note(std::move(*record));
  // Why it failed is better known here than by the record.
  const bool isFailure = std::holds_alternative<FailedAfterMint>(shown);
  if (isFailure && self->record_.status == ProjectShareStatus::pending) co_return;
  auto state = self->recordedState();
  // A record that does not say which edit was sent takes back nothing that is known better here.
  const bool isVouchedFor = isSameEdit(self->sentFingerprint_, self->parts_.fingerprint());
  if (std::holds_alternative<Stale>(shown) && std::holds_alternative<Safe>(state) && !isVouchedFor) co_return;
  if (state != shown) self->show(turn, std::move(state));
}

Task<> ShareController::readRecord() {
  note(co_await parts_.record());
}

void ShareController::note(ProjectShareRecord record) {
  record_ = std::move(record);
  if (record_.status == ProjectShareStatus::ready) sentFingerprint_ = record_.lastUploadedEditFingerprint;
}

// ---- A share ----

/// Takes the right to send, and looks at what others may have done up to then.
Task<> ShareController::begin() {
  co_await parts_.uploader->begin();
  isRecordOurs_ = true;
  co_await readRecord();
  co_await parts_.uploader->adopt(record_, parts_.metadata());
}

Task<> ShareController::end(Turn turn, std::function<ShareState()> state) {
  isRecordOurs_ = false;
  co_await parts_.uploader->end();
  isBusy_ = false;
  show(turn, state());
  if (hasMissedChange_) recordDidChange();
}

/// A link that is on no clipboard is a link.
Task<> ShareController::copy(std::string link) {
  try {
    co_await parts_.clipboard(std::move(link));
  } catch (...) {
    Log::write("the link could not be copied: {}", describe(std::current_exception()));
  }
}

Task<> ShareController::share() {
  assert(sequence_.isCurrent());
  if (isBusy_) co_return;
  const auto self = shared_from_this();
  isBusy_ = true;
  const auto turn = ++turn_;
  std::optional<ShareState> refusal;
  bool isNew = false;
  try {
    co_await readRecord();
    if (!isShared()) co_await begin();
    isNew = !isShared();
    if (!knownLink()) refusal = co_await mint();
  } catch (...) {
    const auto message = describe(std::current_exception());
    const auto link = knownLink();
    refusal = link ? ShareState(FailedAfterMint{*link, ShareFailPhase::upload, message})
                   : ShareState(FailedMint{message});
  }
  if (!refusal) {
    const auto link = *knownLink();
    co_await copy(link);
    if (isNew) {
      co_await conclude(turn, link, co_await renderThenUpload(turn, link));
      co_return;
    }
  }
  const std::function<ShareState()> state = [&] { return refusal ? *refusal : recordedState(); };
  co_await end(turn, state);
}

/// Makes the link, or returns the state that says why there is none.
Task<std::optional<ShareState>> ShareController::mint() {
  const auto metadata = parts_.metadata();
  const auto decision = co_await parts_.capCheck(metadata.durationMs);
  if (decision.over) co_return Cap{*decision.over};
  try {
    co_await parts_.uploader->mint(metadata);
    co_return std::nullopt;
  } catch (const std::exception& error) {
    if (const auto reason = capReasonOf(error)) co_return Cap{*reason};
    co_return FailedMint{error.what()};
  }
}

Task<> ShareController::reshare() {
  assert(sequence_.isCurrent());
  const auto* stale = std::get_if<Stale>(&state_);
  if (!stale || isBusy_) co_return;
  auto link = stale->shareURL;
  co_await send(std::move(link));
}

Task<> ShareController::retry() {
  assert(sequence_.isCurrent());
  const auto* failed = std::get_if<FailedAfterMint>(&state_);
  if (!failed || isBusy_) co_return;
  auto link = failed->shareURL;
  co_await send(std::move(link));
}

Task<> ShareController::send(std::string shareURL) {
  const auto self = shared_from_this();
  isBusy_ = true;
  const auto turn = ++turn_;
  refusal_.reset();
  try {
    co_await begin();
  } catch (...) {
    refusal_ = describe(std::current_exception());
  }
  shareURL = record_.shareURL.value_or(std::move(shareURL));  // where the bytes go
  const auto fingerprint = parts_.fingerprint();
  const bool isSent = record_.status == ProjectShareStatus::ready &&
                      isSameEdit(record_.lastUploadedEditFingerprint, fingerprint);  // by another program
  if (refusal_ || isSent) {
    const std::function<ShareState()> state = [&] { return refusal_ ? state_ : recordedState(); };
    co_await end(turn, state);
    co_return;
  }
  const bool isRendered = record_.status == ProjectShareStatus::pending &&
                          isSameEdit(parts_.uploader->sendableFingerprint(), fingerprint);
  Failure failure;
  if (isRendered)
    failure = co_await upload(turn, shareURL, std::nullopt);
  else
    failure = co_await renderThenUpload(turn, shareURL);
  co_await conclude(turn, shareURL, std::move(failure));
}

Task<> ShareController::conclude(Turn turn, std::string shareURL, Failure failure) {
  const std::function<ShareState()> state = [&] {
    return failure ? ShareState(*failure) : sentState(shareURL);
  };
  co_await end(turn, state);
  if (std::holds_alternative<Safe>(state_)) refreshUsage();
}

Task<ShareController::Failure> ShareController::renderThenUpload(Turn turn, std::string shareURL) {
  co_await persistPending(shareURL);
  RenderedShare rendered;
  auto work = std::make_shared<Work>();
  try {
    co_await parts_.prepare();
    rendered.file = parts_.tempURL();
    rendered.fingerprint = parts_.fingerprint();
    renderedFingerprint_ = rendered.fingerprint;
    show(turn, Rendering{.passthrough = renderWasPassthrough_.value_or(false)});
    auto progress = progressOf(ProgressPhase::render, turn, work);
    renderWasPassthrough_ = co_await parts_.render(rendered.file, std::move(progress));
    work.reset();
    rendered.poster = co_await parts_.poster(rendered.file);
    rendered.captions = co_await parts_.captions();
  } catch (...) {
    co_return FailedAfterMint{shareURL, ShareFailPhase::render, describe(std::current_exception())};
  }
  show(turn, Rendering{.progress = 1, .passthrough = *renderWasPassthrough_});
  co_return co_await upload(turn, shareURL, std::move(rendered));
}

Task<ShareController::Failure> ShareController::upload(Turn turn, std::string shareURL,
                                                       std::optional<RenderedShare> rendered) {
  // The entry goes when all is sent. What the record has not taken back by then it would go on calling safe,
  // and a link that it does not know would be forgotten.
  if (const auto error = co_await persistPending(shareURL))
    co_return FailedAfterMint{shareURL, ShareFailPhase::upload, *error};
  uploadStartedAt_ = parts_.now();
  show(turn, Uploading{});
  std::optional<std::string> error;
  try {
    const auto work = std::make_shared<Work>();
    const auto progress = progressOf(ProgressPhase::upload, turn, work);
    if (rendered)
      co_await parts_.uploader->uploadRendered(std::move(*rendered), progress);
    else
      co_await parts_.uploader->resumeUpload(progress);
  } catch (const std::exception& thrown) {
    const auto reason = capReasonOf(thrown);
    error = reason ? panelMessage(*reason) : thrown.what();
  }
  uploadStartedAt_.reset();
  if (error) co_return FailedAfterMint{shareURL, ShareFailPhase::upload, *error};
  uploadedThisSession_ = true;
  sentFingerprint_ = parts_.uploader->entry()->editFingerprint;
  co_await persist(ProjectShareStatus::ready, shareURL, sentFingerprint_);
  co_return std::nullopt;
}

Task<std::optional<std::string>> ShareController::persistPending(std::string shareURL) {
  if (record_.status == ProjectShareStatus::pending && record_.shareURL == shareURL) co_return std::nullopt;
  co_return co_await persist(ProjectShareStatus::pending, shareURL, record_.lastUploadedEditFingerprint);
}

Task<std::optional<std::string>> ShareController::persist(ProjectShareStatus status, std::string shareURL,
                                                          std::optional<std::string> fingerprint) {
  const auto change = [status, shareURL = std::move(shareURL), fingerprint = std::move(fingerprint),
                       entry = parts_.uploader->entry()](ProjectShareRecord& record) {
    record.shareURL = shareURL;
    record.status = status;
    record.lastUploadedEditFingerprint = fingerprint;
    record.lastUploadError.reset();
    if (!entry) return;
    if (entry->slug) record.slug = entry->slug;
    if (entry->videoId) record.videoId = entry->videoId;
    if (entry->sizeBytes > ShareUploading::placeholderSizeBytes) record.uploadedSizeBytes = entry->sizeBytes;
  };
  try {
    note(co_await parts_.changeRecord(change));
    co_return std::nullopt;
  } catch (...) {
    const auto error = describe(std::current_exception());
    Log::write("share record persist failed: {}", error);
    co_return error;
  }
}

// ---- Beside a share ----

Task<> ShareController::saveToFile(Path file) {
  assert(sequence_.isCurrent());
  const auto self = shared_from_this();
  const auto turn = ++turn_;
  show(turn, ExportingFile{});
  ShareState ending = FileSaved{file};
  try {
    const auto work = std::make_shared<Work>();
    auto progress = progressOf(ProgressPhase::file, turn, work);
    co_await parts_.render(file, std::move(progress));
  } catch (...) {
    ending = Ready{};
  }
  show(turn, std::move(ending));
}

void ShareController::editsDidChange() {
  assert(sequence_.isCurrent());
  if (!uploadedThisSession_ && !canSend()) return;
  if (std::holds_alternative<FailedAfterMint>(state_)) {
    changed.emit();
  } else if (const auto* safe = std::get_if<Safe>(&state_)) {
    if (!isSameEdit(sentFingerprint_, parts_.fingerprint())) show(turn_, Stale{std::string(safe->shareURL)});
  } else if (std::holds_alternative<Stale>(state_) && !std::exchange(isLookingForUndone_, true)) {
    startDetached(executor_, lookForUndoneEdits(weak_from_this(), parts_.pause));
  }
}

Task<> ShareController::lookForUndoneEdits(std::weak_ptr<ShareController> weak,
                                           std::function<Task<>()> pause) {
  co_await pause();
  const auto self = weak.lock();
  if (!self) co_return;
  self->isLookingForUndone_ = false;
  const bool isStale = std::holds_alternative<Stale>(self->state_);
  // Or did another program send another edit meanwhile?
  if (isStale && isSameEdit(self->sentFingerprint_, self->parts_.fingerprint())) self->recordDidChange();
}

Task<> ShareController::copyCurrentLink() {
  assert(sequence_.isCurrent());
  const auto self = shared_from_this();
  const auto shown = linkOf(state_);
  if (const auto link = shown ? shown : record_.shareURL) co_await copy(*link);
}

void ShareController::refreshUsage() {
  startDetached(executor_, probeUsage(weak_from_this()));
}

Task<> ShareController::probeUsage(std::weak_ptr<ShareController> weak) {
  std::function<Task<std::optional<UsageSnapshot>>()> probe;
  if (const auto self = weak.lock()) probe = self->parts_.usageProbe;
  std::optional<UsageSnapshot> usage;
  try {
    if (probe) usage = co_await probe();
  } catch (...) {
    co_return;  // what is left is not known
  }
  const auto self = weak.lock();
  if (!self || !usage) co_return;
  self->linksLeft_ = ShareUsage::of(*usage);
  self->changed.emit();
}

}  // namespace quillant
