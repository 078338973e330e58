#include "QuillantShare/ShareController.h"

#include <cassert>
#include <cmath>
#include <exception>
#include <fmt/format.h>
#include <utility>

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
  co_await controller->readRecord();
  co_await controller->parts_.uploader->adopt(controller->record_, controller->parts_.metadata());
  controller->state_ = controller->recordedState();
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
  return record_.shareURL ? record_.shareURL : parts_.uploader->shareURL();
}

ShareState ShareController::recordedState() const {
  const auto link = knownLink();
  if (!link) return Ready{};
  // A link without a word in the record is that of a program that died before it could write one.
  if (record_.status != ProjectShareStatus::ready)
    return FailedAfterMint{*link, ShareFailPhase::upload, record_.lastUploadError.value_or(unfinishedUpload)};
  const auto& sent = record_.lastUploadedEditFingerprint;
  // Where nothing can be sent to the link there is no use in saying that it is out of date.
  if (sent && sent != parts_.fingerprint() && parts_.uploader->hasReservation()) return Stale{*link};
  return Safe{*link};
}

/// After an upload. The record is not asked: it may be on a disk that is full.
ShareState ShareController::sentState(const std::string& shareURL) const {
  if (sentFingerprint_ == parts_.fingerprint()) return Safe{shareURL};
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
  return renderedFingerprint_ && renderedFingerprint_ != parts_.fingerprint();
}

// ---- A share ----

Task<> ShareController::readRecord() {
  note(co_await parts_.record());
}

void ShareController::note(ProjectShareRecord record) {
  record_ = std::move(record);
  if (record_.status == ProjectShareStatus::ready) sentFingerprint_ = record_.lastUploadedEditFingerprint;
}

/// Takes the right to send, and looks at what others may have done up to then.
Task<> ShareController::begin() {
  co_await parts_.uploader->begin();
  co_await readRecord();
  co_await parts_.uploader->adopt(record_, parts_.metadata());
}

Task<> ShareController::share() {
  assert(sequence_.isCurrent());
  if (isSharing_) co_return;
  const auto self = shared_from_this();
  isSharing_ = true;
  const auto turn = ++turn_;
  std::optional<ShareState> refusal;
  bool isNew = false;
  try {
    co_await readRecord();
    if (!knownLink()) co_await begin();
    isNew = !knownLink();
    if (isNew) refusal = co_await mint();
  } catch (...) {
    const auto message = describe(std::current_exception());
    const auto link = knownLink();
    refusal = link ? ShareState(FailedAfterMint{*link, ShareFailPhase::upload, message})
                   : ShareState(FailedMint{message});
  }
  if (!refusal) {
    const auto link = *knownLink();
    co_await parts_.clipboard(link);
    if (isNew) {
      co_await conclude(turn, link, co_await renderThenUpload(turn, link));
      co_return;
    }
  }
  co_await parts_.uploader->end();
  isSharing_ = false;
  show(turn, refusal ? *refusal : recordedState());
}

/// Makes the link, or returns the state that says why there is none.
Task<std::optional<ShareState>> ShareController::mint() {
  const auto metadata = parts_.metadata();
  const auto decision = co_await parts_.capCheck(metadata.durationMs);
  if (decision.over) co_return Cap{*decision.over};
  try {
    co_await parts_.uploader->mint(metadata);
    co_return std::nullopt;
  } catch (const Error& error) {
    if (const auto reason = capReasonOf(error)) co_return Cap{*reason};
    co_return FailedMint{error.description()};
  }
}

Task<> ShareController::reshare() {
  assert(sequence_.isCurrent());
  const auto* stale = std::get_if<Stale>(&state_);
  if (!stale || isSharing_) co_return;
  FailedAfterMint before{.shareURL = stale->shareURL};
  co_await send(std::move(before));
}

Task<> ShareController::retry() {
  assert(sequence_.isCurrent());
  const auto* failed = std::get_if<FailedAfterMint>(&state_);
  if (!failed || isSharing_) co_return;
  auto before = *failed;
  co_await send(std::move(before));
}

/// `before` is what stays if the right to send is not to be had.
Task<> ShareController::send(FailedAfterMint before) {
  const auto self = shared_from_this();
  isSharing_ = true;
  const auto turn = ++turn_;
  const auto link = before.shareURL;
  Failure failure;
  try {
    co_await begin();
  } catch (...) {
    failure = std::move(before);
    failure->message = describe(std::current_exception());
  }
  const bool isSent = record_.status == ProjectShareStatus::ready &&
                      record_.lastUploadedEditFingerprint == parts_.fingerprint();
  if (!failure && isSent) {  // by another program
    co_await parts_.uploader->end();
    isSharing_ = false;
    show(turn, recordedState());
    co_return;
  }
  const bool isRendered = record_.status == ProjectShareStatus::pending &&
                          parts_.uploader->sendableFingerprint() == parts_.fingerprint();
  if (!failure && isRendered)
    failure = co_await upload(turn, link, std::nullopt);
  else if (!failure)
    failure = co_await renderThenUpload(turn, link);
  co_await conclude(turn, link, std::move(failure));
}

/// The state is decided last, so that it knows every edit up to then.
Task<> ShareController::conclude(Turn turn, std::string shareURL, Failure failure) {
  co_await parts_.uploader->end();
  isSharing_ = false;
  show(turn, failure ? ShareState(std::move(*failure)) : sentState(shareURL));
  if (std::holds_alternative<Safe>(state_)) refreshUsage();
}

Task<ShareController::Failure> ShareController::renderThenUpload(Turn turn, std::string shareURL) {
  co_await persistPending(shareURL);
  RenderedShare rendered{.file = parts_.tempURL(), .fingerprint = parts_.fingerprint()};
  renderedFingerprint_ = rendered.fingerprint;
  show(turn, Rendering{.passthrough = renderWasPassthrough_.value_or(false)});
  auto work = std::make_shared<Work>();
  try {
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
  } catch (const Error& thrown) {
    const auto reason = capReasonOf(thrown);
    error = reason ? panelMessage(*reason) : thrown.description();
  } catch (...) {
    error = describe(std::current_exception());
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
  if (!uploadedThisSession_ && !parts_.uploader->hasReservation()) return;
  const bool isWhatWasSent = sentFingerprint_ == parts_.fingerprint();
  if (std::holds_alternative<FailedAfterMint>(state_))
    changed.emit();
  else if (const auto* safe = std::get_if<Safe>(&state_); safe && !isWhatWasSent)
    show(turn_, Stale{std::string(safe->shareURL)});
  else if (std::holds_alternative<Stale>(state_) && isWhatWasSent)
    startDetached(executor_, lookForUndoneEdits(shared_from_this()));
}

/// Another program may have sent another edit meanwhile: the record as it is stored decides.
Task<> ShareController::lookForUndoneEdits(std::shared_ptr<ShareController> self) {
  const auto turn = self->turn_;
  ProjectShareRecord record;
  try {
    record = co_await self->parts_.record();
  } catch (...) {
    co_return;
  }
  if (turn != self->turn_ || !std::holds_alternative<Stale>(self->state_)) co_return;
  self->note(std::move(record));
  const auto state = self->recordedState();
  if (std::holds_alternative<Safe>(state)) self->show(turn, state);
}

Task<> ShareController::copyCurrentLink() {
  assert(sequence_.isCurrent());
  const auto self = shared_from_this();
  const auto shown = linkOf(state_);
  if (const auto link = shown ? shown : record_.shareURL) co_await parts_.clipboard(*link);
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
