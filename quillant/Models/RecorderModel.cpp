#include "quillant/Models/RecorderModel.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <system_error>
#include <utility>

#include "Core/AtomicFile.h"
#include "Core/ByteSize.h"
#include "Core/DiskExecutor.h"
#include "Core/Log.h"
#include "Core/UUID.h"
#include "KeyboardShortcuts/KeyboardShortcut.h"

namespace quillant {

namespace {

using Coordinator = RecordingCoordinator;

/// A limit for safety's sake: stopping is the user's.
constexpr double longestRecording = 86'400;
constexpr int countdownSeconds = 3;
constexpr double hudInterval = 0.2;
constexpr double levelInterval = 0.1;
constexpr double deviceInterval = 2;

template <class... Arguments>
void call(const std::function<void(Arguments...)>& callback, Arguments... arguments) {
  if (callback) callback(std::move(arguments)...);
}

Task<> makeFolder(std::filesystem::path folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) throw FileError("make", folder, error);
  co_return;
}

std::string fileName(const Date& date) {
  auto time = date.iso8601();
  std::ranges::replace(time, ':', '-');
  return "Recording " + time + ".mp4";
}

std::optional<std::string> text(const std::optional<std::filesystem::path>& path) {
  return path ? std::optional(path->string()) : std::nullopt;
}

RecordingHandoffFields handoffFields(const RecordingArtifacts& artifacts) {
  return {.screenVideoPath = artifacts.screenVideo.string(),
          .cursorTelemetryPath = text(artifacts.cursorTelemetry),
          .facecamVideoPath = text(artifacts.facecam),
          .facecamOffsetMs = artifacts.facecamOffsetMs};
}

RecordingHandoffFields handoffFields(const RecordingSession& session) {
  return {.screenVideoPath = session.screenVideoPath,
          .cursorTelemetryPath = session.cursorTelemetryPath,
          .facecamVideoPath = session.facecamVideoPath,
          .facecamOffsetMs = session.facecamOffsetMs,
          .sourceName = session.sourceName};
}

HUDState::Mode hudMode(Coordinator::Phase phase) {
  switch (phase) {
    case Coordinator::Phase::idle:
      return HUDState::Mode::hidden;
    case Coordinator::Phase::recording:
      return HUDState::Mode::recording;
    case Coordinator::Phase::paused:
      return HUDState::Mode::paused;
    case Coordinator::Phase::stopping:
      return HUDState::Mode::saving;
  }
  return HUDState::Mode::hidden;
}

Task<> stop(std::shared_ptr<Coordinator> coordinator) {
  co_await coordinator->stop();
}

}  // namespace

std::shared_ptr<RecorderModel> RecorderModel::make(Services services, Callbacks callbacks) {
  const Self model(new RecorderModel(std::move(services), std::move(callbacks)));
  model->connect();
  return model;
}

RecorderModel::RecorderModel(Services services, Callbacks callbacks)
    : services_(std::move(services)), callbacks_(std::move(callbacks)), sequence_(services_.mainThread) {}

void RecorderModel::connect() {
  const auto weak = weak_from_this();
  const auto on = [&weak](void (RecorderModel::*handler)()) {
    return [weak, handler] {
      if (const auto self = weak.lock()) (self.get()->*handler)();
    };
  };
  connections_.push_back(services_.sources->changed.connect(on(&RecorderModel::sourcesChanged)));
  connections_.push_back(services_.disk->changed.connect(on(&RecorderModel::recompute)));
  connections_.push_back(services_.mic->changed.connect(on(&RecorderModel::recompute)));
  connections_.push_back(services_.camera->changed.connect(on(&RecorderModel::recompute)));
  connections_.push_back(services_.preferences->changed.connect(on(&RecorderModel::preferencesChanged)));
  services_.disk->setDirectory(directory());
  services_.disk->start();
  startDetached(services_.mainThread, observePhases(weak, services_.coordinator));
  startDetached(services_.mainThread, showPermissions(shared_from_this()));
  recompute();
}

// The way to a recording.

void RecorderModel::toggleRecord() {
  assert(sequence_.isCurrent());
  if (inputs_.phase == Phase::recording || inputs_.phase == Phase::paused) {
    Log::write("Stop pressed");
    startDetached(services_.mainThread, stop(services_.coordinator));
    return;
  }
  if (startInFlight_ || captureStarting_) {
    Log::write("Start pressed again while the previous press is still being prepared; ignored");
    return;
  }
  Log::write("Start pressed (mode={}, popoverOpen={})", rawText(inputs_.mode), inputs_.popoverOpen);
  startInFlight_ = true;
  startDetached(services_.mainThread, prepareAndStart(shared_from_this()));
}

Task<> RecorderModel::prepareAndStart(Self self) {
  co_await self->prepareForStart();
  if (const auto refusal = self->startRefusal()) {
    co_await self->refuse(*refusal);
  } else {
    call(self->callbacks_.dismissPopover);
    if (self->inputs_.mode == SourceMode::area)
      co_await self->beginAreaSelection();
    else
      co_await self->startRecording();
  }
  self->startInFlight_ = false;
}

Task<> RecorderModel::prepareForStart() {
  co_await refreshPermissions();
  co_await services_.disk->read();
  const bool knowsDisplays = inputs_.popoverOpen && !inputs_.displays.empty();
  if (inputs_.permissions.screenRecording == PermissionState::granted && !knowsDisplays)
    co_await services_.sources->enumerate();
  recompute();
}

Task<> RecorderModel::refuse(StartRefusal refusal) {
  Log::write("Start refused: {}", refusal.logReason);
  auto alert = RecorderTexts::refusal(refusal);
  const auto button = co_await services_.presenter->ask(std::move(alert));
  if (button != 0) co_return;
  if (refusal.action == StartRefusal::Action::openScreenSettings)
    call(callbacks_.openSettingsPane, PermissionKind::screenRecording);
  if (refusal.action == StartRefusal::Action::manageStorage) call(callbacks_.manageStorage);
}

Task<> RecorderModel::beginAreaSelection() {
  if (const auto refusal = startRefusal()) {
    co_await refuse(*refusal);
    co_return;
  }
  if (areaOverlay_) {
    Log::write("Area selection already open; start ignored");
    co_return;
  }
  const auto weak = weak_from_this();
  AreaSelectionOverlayController::Callbacks callbacks{
      .confirm =
          [weak](CaptureArea area, std::uint32_t displayID) {
            const auto self = weak.lock();
            if (!self) return;
            self->areaOverlay_.reset();
            self->launch({.displayID = displayID, .area = area});
          },
      .cancel =
          [weak] {
            if (const auto self = weak.lock()) self->areaOverlay_.reset();
          }};
  AreaOverlay overlay;
  overlay.controller = std::make_unique<AreaSelectionOverlayController>(
      services_.sources->displays(), services_.preferences->value().resolution, std::move(callbacks));
  overlay.presentation = services_.presenter->show(*overlay.controller);
  areaOverlay_ = std::move(overlay);
  Log::write("Area selection shown");
}

Task<> RecorderModel::startRecording() {
  auto display = inputs_.selectedDisplayID;
  if (!display) display = services_.sources->fallbackDisplay();
  if (!display) {
    co_await refuse(StartRefusal::noDisplay(services_.sources->problem()));
    co_return;
  }
  const bool ofWindow = inputs_.mode == SourceMode::window;
  launch({.displayID = *display, .windowID = ofWindow ? inputs_.selectedWindowID : std::nullopt});
}

void RecorderModel::launch(const Target& target) {
  if (services_.preferences->value().countdown == CountdownPreference::off) {
    beginCapture(target);
    return;
  }
  if (countdownOverlay_) {
    Log::write("Countdown already running; start ignored");
    return;
  }
  const auto weak = weak_from_this();
  CountdownOverlay overlay;
  overlay.controller = CountdownOverlayController::start(services_.mainThread, target.displayID,
                                                         countdownSeconds, services_.countdownSleep,
                                                         {.finished =
                                                              [weak, target] {
                                                                const auto self = weak.lock();
                                                                if (!self) return;
                                                                self->countdownOverlay_.reset();
                                                                self->beginCapture(target);
                                                              },
                                                          .cancelled =
                                                              [weak] {
                                                                if (const auto self = weak.lock())
                                                                  self->countdownOverlay_.reset();
                                                              }});
  overlay.presentation = services_.presenter->show(*overlay.controller);
  countdownOverlay_ = std::move(overlay);
  Log::write("Countdown shown on display {}", target.displayID);
}

void RecorderModel::beginCapture(const Target& target) {
  const auto& preferences = services_.preferences->value();
  Coordinator::Request request{
      .options = {.outputURL = directory() / fileName(services_.now()),
                  .displayID = target.displayID,
                  .area = target.area,
                  .windowID = target.windowID,
                  .mic = inputs_.micOn,
                  .micDeviceID = micDeviceID(),
                  .systemAudio = inputs_.systemAudioOn,
                  .facecam = inputs_.cameraOn,
                  .telemetry = true,
                  .frameRate = preferences.frameRate == FrameRatePreference::fps60 ? 60 : 30,
                  .resolution = preferences.resolution},
      .duration = longestRecording};
  Log::write("Capture starting on display {} (area={}, window={})", target.displayID, target.area.has_value(),
             target.windowID.has_value());
  captureStarting_ = true;
  ++captures_;
  recordsMic_ = inputs_.micOn;
  startDetached(services_.mainThread, capture(shared_from_this(), std::move(request)));
}

Task<> RecorderModel::capture(Self self, Coordinator::Request request) {
  Outcome outcome = Coordinator::Discarded{};
  try {
    co_await runOn(diskExecutor(), makeFolder(request.options.outputURL.parent_path()));
    outcome = co_await self->services_.coordinator->record(std::move(request));
  } catch (const std::exception&) {
    outcome = Coordinator::FailedToStart{describe(std::current_exception())};
  }
  self->captureStarting_ = false;
  co_await self->handle(std::move(outcome));
  --self->captures_;
}

// What became of it.

Task<> RecorderModel::handle(Outcome outcome) {
  if (auto* completed = std::get_if<Coordinator::Completed>(&outcome)) {
    co_await registerAndOpen(std::move(completed->artifacts));
  } else if (auto* failed = std::get_if<Coordinator::SessionFailed>(&outcome)) {
    co_await presentInterruptedNotice(failed->cause, std::move(failed->salvaged));
  } else if (const auto* notStarted = std::get_if<Coordinator::FailedToStart>(&outcome)) {
    Log::write("Capture failed to start: {}", notStarted->reason);
    auto alert = RecorderTexts::couldNotStart(notStarted->reason);
    co_await services_.presenter->ask(std::move(alert));
  }
}

Task<> RecorderModel::registerAndOpen(RecordingArtifacts artifacts) {
  auto handoff = handoffFields(artifacts);
  const auto registered =
      co_await registerProject(handoff, std::nullopt, "project registration failed (opening anyway)");
  call(callbacks_.onProjectsChanged);
  if (registered) {
    try {
      const auto stored = co_await services_.projects.project(*registered);
      if (const auto& session = stored.document.recordingSession) handoff = handoffFields(*session);
    } catch (const std::exception&) {  // what was handed in is as good
    }
  }
  if (!artifacts.warnings.empty()) call(callbacks_.onWarned, RecorderTexts::warnings(artifacts.warnings));
  call(callbacks_.openEditor, std::move(handoff), registered.value_or(UUID::random().text()));
}

Task<> RecorderModel::presentInterruptedNotice(FailureCause cause, RecordingArtifacts salvaged) {
  co_await registerProject(handoffFields(salvaged), RecorderTexts::interruptedCause(cause),
                           "interrupted project registration failed");
  call(callbacks_.onProjectsChanged);
  std::optional<std::string> free;
  if (cause == FailureCause::diskSpace) {
    co_await services_.disk->read();
    free = ByteSize::fileSize(services_.disk->freeBytes());
  }
  const auto interruption =
      co_await CaptureInterruptedModel::make(cause, salvaged.screenVideo, std::move(free));
  call(callbacks_.onInterrupted, RecorderTexts::interrupted(interruption));
}

Task<std::optional<std::string>> RecorderModel::registerProject(RecordingHandoffFields handoff,
                                                                std::optional<std::string> interruptedCause,
                                                                std::string failureLog) {
  const auto date = services_.now().iso8601();
  ProjectStore::CreateOptions options{.id = UUID::random().text(),
                                      .title = "Recording",
                                      .createdAt = date,
                                      .updatedAt = date,
                                      .interruptedCause = std::move(interruptedCause)};
  try {
    const auto registration =
        co_await services_.projects.registerRecording(std::move(handoff), std::move(options));
    co_return registration.entry.summary.id;
  } catch (const std::exception&) {
    Log::write("{}: {}", failureLog, describe(std::current_exception()));
    co_return std::nullopt;
  }
}

// While it lasts.

Task<> RecorderModel::observePhases(std::weak_ptr<RecorderModel> weak,
                                    std::shared_ptr<Coordinator> coordinator) {
  auto phases = co_await coordinator->phaseStream();
  coordinator.reset();  // the model holds it, and the stream ends with it
  while (const auto phase = co_await phases.next()) {
    const auto self = weak.lock();
    if (!self) co_return;
    self->phaseChanged(*phase);
  }
}

void RecorderModel::phaseChanged(Phase phase) {
  assert(sequence_.isCurrent());
  const auto before = std::exchange(inputs_.phase, phase);
  if (phase != Phase::idle) captureStarting_ = false;
  if (before == Phase::idle && phase == Phase::recording)
    startDetached(services_.mainThread, tickHUD(weak_from_this(), ++session_));
  listen();
  updateHUD(hudState_.seconds);
  recompute();
}

Task<> RecorderModel::tickHUD(std::weak_ptr<RecorderModel> weak, std::uint64_t session) {
  for (;;) {
    auto self = weak.lock();
    if (!self || self->session_ != session || self->inputs_.phase == Phase::idle) co_return;
    const double seconds = co_await self->services_.coordinator->elapsedSeconds();
    // Once it is being saved it has no time any more, and what is shown stays.
    const bool counts = self->inputs_.phase == Phase::recording || self->inputs_.phase == Phase::paused;
    if (counts && self->session_ == session)
      self->updateHUD(std::max(static_cast<std::int64_t>(seconds), self->hudState_.seconds));
    self.reset();  // the model may go meanwhile
    co_await sleepSeconds(hudInterval);
  }
}

void RecorderModel::updateHUD(std::int64_t seconds) {
  HUDState state{.mode = hudMode(inputs_.phase)};
  if (state.mode != HUDState::Mode::hidden) {
    state.seconds = seconds;
    if (recordsMic_) state.micLevel = HUDState::levelStep(services_.mic->level());
    if (services_.disk->status() != DiskStatus::ok)
      state.freeSpace = ByteSize::fileSize(services_.disk->freeBytes());
  }
  if (state == hudState_) return;
  hudState_ = std::move(state);
  hudChanged.emit();
}

void RecorderModel::pause() {
  assert(sequence_.isCurrent());
  startDetached(services_.mainThread, services_.coordinator->pause());
}

void RecorderModel::resume() {
  assert(sequence_.isCurrent());
  startDetached(services_.mainThread, services_.coordinator->resume());
}

void RecorderModel::hudDiscard() {
  assert(sequence_.isCurrent());
  if (!std::exchange(isAskingToDiscard_, true))
    startDetached(services_.mainThread, discardIfAgreed(shared_from_this(), session_));
}

Task<> RecorderModel::finish() {
  const auto self = shared_from_this();
  areaOverlay_.reset();
  countdownOverlay_.reset();
  constexpr double interval = 0.05;
  while (captures_ > 0) {
    co_await services_.coordinator->stop();  // one that is only starting is stopped as soon as it records
    co_await sleepSeconds(interval);
  }
}

Task<> RecorderModel::discardIfAgreed(Self self, std::uint64_t session) {
  auto alert = RecorderTexts::discard();
  const auto button = co_await self->services_.presenter->ask(std::move(alert));
  self->isAskingToDiscard_ = false;
  // It may have ended by itself meanwhile, and the next one is not what was asked about.
  if (button == 0 && self->session_ == session) co_await self->services_.coordinator->discard();
}

// What the panel shows.

void RecorderModel::popoverDidOpen() {
  assert(sequence_.isCurrent());
  if (inputs_.popoverOpen) return;
  inputs_.popoverOpen = true;
  const auto opening = ++opening_;
  services_.sources->start();
  services_.disk->start();
  startDetached(services_.mainThread, watchDevices(weak_from_this(), opening));
  startDetached(services_.mainThread, watchLevel(weak_from_this(), opening));
  recompute();
}

void RecorderModel::popoverDidClose() {
  assert(sequence_.isCurrent());
  if (!inputs_.popoverOpen) return;
  inputs_.popoverOpen = false;
  ++opening_;
  services_.sources->stop();
  inputs_.micLevel = 0;
  listen();
  recompute();
}

Task<> RecorderModel::watchDevices(std::weak_ptr<RecorderModel> weak, std::uint64_t opening) {
  for (;;) {
    auto self = weak.lock();
    if (!self || self->opening_ != opening) co_return;
    co_await self->refreshPermissions();
    co_await self->services_.camera->refresh();
    if (self->opening_ != opening) co_return;
    self->listen();
    self->recompute();
    self.reset();  // the model may go meanwhile
    co_await sleepSeconds(deviceInterval);
  }
}

Task<> RecorderModel::watchLevel(std::weak_ptr<RecorderModel> weak, std::uint64_t opening) {
  for (;;) {
    auto self = weak.lock();
    if (!self || self->opening_ != opening) co_return;
    self->inputs_.micLevel = self->inputs_.micOn ? self->services_.mic->level() : 0;
    self->recompute();
    self.reset();
    co_await sleepSeconds(levelInterval);
  }
}

Task<> RecorderModel::refreshPermissions() {
  inputs_.permissions = co_await services_.permissions->current();
  co_await services_.mic->refresh();
  if (micChosenByUser_) co_return;
  inputs_.micOn =
      inputs_.permissions.microphone == PermissionState::granted && !services_.mic->devices().empty();
}

Task<> RecorderModel::request(Self self, PermissionKind kind) {
  co_await self->services_.permissions->request(kind);
  co_await showPermissions(self);
}

Task<> RecorderModel::showPermissions(Self self) {
  co_await self->refreshPermissions();
  self->recompute();
}

void RecorderModel::sourcesChanged() {
  const auto& sources = *services_.sources;
  const auto isThere = [](const auto& list, const auto& id) {
    return std::ranges::any_of(list, [&](const auto& source) { return source.id == id; });
  };
  if (!sources.problem()) {  // otherwise nobody knows what is there
    if (!userChoseDisplay_ || !isThere(sources.displays(), inputs_.selectedDisplayID)) {
      inputs_.selectedDisplayID = sources.fallbackDisplay();
      userChoseDisplay_ = false;
    }
    if (!isThere(sources.windows(), inputs_.selectedWindowID)) inputs_.selectedWindowID.reset();
  }
  recompute();
}

void RecorderModel::preferencesChanged() {
  services_.disk->setDirectory(directory());
  recompute();
}

void RecorderModel::listen() {
  const bool isHeard = inputs_.popoverOpen && inputs_.micOn;
  const bool isRecorded = inputs_.phase != Phase::idle && recordsMic_;
  if (isHeard || isRecorded)
    services_.mic->listen(micDeviceID());
  else
    services_.mic->stop();
}

void RecorderModel::setMic(bool on) {
  micChosenByUser_ = true;
  inputs_.micOn = on;
  listen();
  recompute();
}

void RecorderModel::setCamera(bool on) {
  inputs_.cameraOn = on;
  recompute();
  hudChanged.emit();
}

PopoverActions RecorderModel::popoverActions() {
  // Whoever holds the actions holds the model no longer than it lasts.
  const auto change = [weak = weak_from_this()](auto work) {
    return [weak, work](auto... arguments) {
      const auto self = weak.lock();
      if (!self) return;
      work(*self, std::move(arguments)...);
      self->recompute();
    };
  };
  return {
      .selectMode = change([](RecorderModel& model, SourceMode mode) { model.inputs_.mode = mode; }),
      .selectDisplay = change([](RecorderModel& model, std::uint32_t id) {
        model.inputs_.selectedDisplayID = id;
        model.userChoseDisplay_ = true;
      }),
      .selectWindow =
          change([](RecorderModel& model, std::uint32_t id) { model.inputs_.selectedWindowID = id; }),
      .setMic = change([](RecorderModel& model, bool on) { model.setMic(on); }),
      .selectMic = change([](RecorderModel& model, std::optional<std::string> id) {
        model.inputs_.selectedMicID = std::move(id);
        model.listen();
      }),
      .setSystemAudio = change([](RecorderModel& model, bool on) { model.inputs_.systemAudioOn = on; }),
      .setCamera = change([](RecorderModel& model, bool on) { model.setCamera(on); }),
      .toggleRecord = change([](RecorderModel& model) { model.toggleRecord(); }),
      .requestPermission = change([](RecorderModel& model, PermissionKind kind) {
        startDetached(model.services_.mainThread, request(model.shared_from_this(), kind));
      }),
      .openSettingsPane = callbacks_.openSettingsPane,
      .openLibrary = callbacks_.onShowLibrary,
      .restart = callbacks_.restart,
      .manageStorage = callbacks_.manageStorage,
      .cameraSession = services_.camera,
  };
}

void RecorderModel::recompute() {
  assert(sequence_.isCurrent());
  inputs_.freeBytes = services_.disk->freeBytes();
  inputs_.displays = services_.sources->displays();
  inputs_.windows = services_.sources->windows();
  inputs_.sourceProblem = services_.sources->problem();
  inputs_.thumbnails.clear();
  for (const auto& display : inputs_.displays)
    inputs_.thumbnails[display.id] = services_.sources->thumbnail(display.id);
  inputs_.mics = services_.mic->devices();
  inputs_.cameras = services_.camera->devices();
  inputs_.update = services_.update ? services_.update() : std::nullopt;
  inputs_.shortcutLabel = KeyboardShortcut::chosen(services_.preferences->value().shortcut).label();
  auto state = quillant::recompute(inputs_);
  if (state == viewState_) return;
  viewState_ = std::move(state);
  viewStateChanged.emit();
}

std::filesystem::path RecorderModel::directory() const {
  const auto& chosen = services_.preferences->value().saveLocation;
  return chosen ? std::filesystem::path(*chosen) : services_.defaultDirectory;
}

std::optional<std::string> RecorderModel::micDeviceID() const {
  return inputs_.selectedMicID ? inputs_.selectedMicID : services_.preferences->value().defaultMicID;
}

}  // namespace quillant
