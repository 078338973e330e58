#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CaptureEngine/RecordingCoordinator.h"
#include "Core/Date.h"
#include "Core/OwningSequence.h"
#include "Core/Signal.h"
#include "Core/Task.h"
#include "Editor/Project/ProjectLibrary.h"
#include "HUDKit/HUDState.h"
#include "quillant/Models/AreaSelectionOverlayController.h"
#include "quillant/Models/CameraPreview.h"
#include "quillant/Models/CountdownOverlayController.h"
#include "quillant/Models/DiskSpaceMonitor.h"
#include "quillant/Models/MicMonitor.h"
#include "quillant/Models/Permissions.h"
#include "quillant/Models/PopoverActions.h"
#include "quillant/Models/PopoverViewState.h"
#include "quillant/Models/PreferenceStore.h"
#include "quillant/Models/RecorderPresenting.h"
#include "quillant/Models/RecorderTexts.h"
#include "quillant/Models/SourceEnumerator.h"
#include "quillant/Models/StartRefusal.h"

namespace quillant {

/// From what the user asks for to a recording, and from its end to a project: decides whether a start is
/// allowed, runs the selection of an area and the countdown, and says what became of the recording.
///
/// Belongs to the main thread, whose executor it is given. Nothing throws: what fails is said to the user.
/// A recording that is under way keeps it alive, until what became of it has been handed on.
class RecorderModel : public std::enable_shared_from_this<RecorderModel> {
 public:
  /// What it works with. Permissions and presenter outlive it.
  struct Services {
    Executor mainThread;
    std::shared_ptr<RecordingCoordinator> coordinator;
    ProjectLibrary projects;
    std::shared_ptr<PreferenceStore> preferences;
    std::shared_ptr<DiskSpaceMonitor> disk;
    std::shared_ptr<SourceEnumerator> sources;
    std::shared_ptr<MicMonitor> mic;
    std::shared_ptr<CameraPreview> camera;
    PermissionAsking* permissions = nullptr;
    RecorderPresenting* presenter = nullptr;
    std::filesystem::path defaultDirectory;  ///< Where recordings go while the user has chosen no place.
    std::function<std::optional<UpdateProgress>()> update;
    std::function<Date()> now = Date::now;
    std::function<Task<bool>(double seconds)> countdownSleep = sleepSeconds;
  };
  /// What follows from a recording, and what the panel leads to. Each may be absent, and is called on the
  /// main thread.
  struct Callbacks {
    std::function<void()> dismissPopover;
    std::function<void()> onProjectsChanged;
    std::function<void(Toast)> onInterrupted;  ///< The recording ended by itself.
    std::function<void(Toast)> onWarned;       ///< It is whole, and something of it is to be looked at.
    std::function<void()> onShowLibrary;
    /// A recording that could not be registered has the id of no project.
    std::function<void(RecordingHandoffFields, std::string projectId)> openEditor;
    std::function<void(PermissionKind)> openSettingsPane;
    std::function<void()> manageStorage;
    std::function<void()> restart;
  };

  /// Watches the coordinator and the disk from now on.
  static std::shared_ptr<RecorderModel> make(Services services, Callbacks callbacks);

  // Published.
  const PopoverViewState& viewState() const { return viewState_; }
  Signal<> viewStateChanged;
  const HUDState& hudState() const { return hudState_; }
  /// Whether what the camera sees is shown over the desktop.
  bool showsBubble() const { return hudState_.mode != HUDState::Mode::hidden && inputs_.cameraOn; }
  /// Of `hudState` or `showsBubble`.
  Signal<> hudChanged;

  /// Starts or stops: the record button, the shortcut and the menu.
  void toggleRecord();
  void pause();
  void resume();
  /// Asks first.
  void hudDiscard();
  /// Stops what is being recorded; ends once all recordings have been handed on.
  Task<> finish();

  void popoverDidOpen();
  void popoverDidClose();
  PopoverActions popoverActions();

  bool canRecord() const { return inputs_.canRecord(); }
  bool canSelectArea() const { return inputs_.canSelectArea(); }
  std::optional<StartRefusal> startRefusal() const { return StartRefusal::of(inputs_.startConditions()); }

 private:
  using Phase = RecordingCoordinator::Phase;
  using Outcome = RecordingCoordinator::Outcome;
  using Self = std::shared_ptr<RecorderModel>;
  struct AreaOverlay {
    std::unique_ptr<AreaSelectionOverlayController> controller;
    std::unique_ptr<Presentation> presentation;
  };
  struct CountdownOverlay {
    std::shared_ptr<CountdownOverlayController> controller;
    std::unique_ptr<Presentation> presentation;
  };
  struct Target {
    std::uint32_t displayID = 0;
    std::optional<CaptureArea> area;
    std::optional<std::uint32_t> windowID;
  };

  RecorderModel(Services services, Callbacks callbacks);
  void connect();

  // The way to a recording.
  static Task<> prepareAndStart(Self self);
  Task<> prepareForStart();
  Task<> refuse(StartRefusal refusal);
  Task<> beginAreaSelection();
  Task<> startRecording();
  void launch(const Target& target);
  void beginCapture(const Target& target);
  static Task<> capture(Self self, RecordingCoordinator::Request request);

  // What became of it.
  Task<> handle(Outcome outcome);
  Task<> registerAndOpen(RecordingArtifacts artifacts);
  Task<> presentInterruptedNotice(FailureCause cause, RecordingArtifacts salvaged);
  /// The project's id; nothing, and a line in the log, if it could not be registered.
  Task<std::optional<std::string>> registerProject(RecordingHandoffFields handoff,
                                                   std::optional<std::string> interruptedCause,
                                                   std::string failureLog);

  // While it lasts.
  static Task<> observePhases(std::weak_ptr<RecorderModel> weak,
                              std::shared_ptr<RecordingCoordinator> coordinator);
  void phaseChanged(Phase phase);
  static Task<> tickHUD(std::weak_ptr<RecorderModel> weak, std::uint64_t session);
  void updateHUD(std::int64_t seconds);
  static Task<> discardIfAgreed(Self self, std::uint64_t session);

  // What the panel shows.
  static Task<> watchDevices(std::weak_ptr<RecorderModel> weak, std::uint64_t opening);
  static Task<> watchLevel(std::weak_ptr<RecorderModel> weak, std::uint64_t opening);
  Task<> refreshPermissions();
  static Task<> request(Self self, PermissionKind kind);
  static Task<> showPermissions(Self self);
  void sourcesChanged();
  void preferencesChanged();
  void listen();
  void setMic(bool on);
  void setCamera(bool on);
  void recompute();
  std::filesystem::path directory() const;
  std::optional<std::string> micDeviceID() const;

  const Services services_;
  const Callbacks callbacks_;
  const OwningSequence sequence_;
  PopoverInputs inputs_;  ///< What was chosen, and the phase; the rest as it was at the last `recompute`.
  bool userChoseDisplay_ = false;
  bool micChosenByUser_ = false;
  bool startInFlight_ = false;    ///< From a press until what it leads to is shown, or refused.
  int captures_ = 0;              ///< Not handed on yet.
  bool captureStarting_ = false;  ///< From there until the coordinator records.
  bool recordsMic_ = false;       ///< The recording that is under way.
  bool isAskingToDiscard_ = false;
  std::uint64_t session_ = 0;  ///< Rises with every recording.
  std::uint64_t opening_ = 0;  ///< Rises whenever the panel opens or closes.
  std::optional<AreaOverlay> areaOverlay_;
  std::optional<CountdownOverlay> countdownOverlay_;
  PopoverViewState viewState_;
  HUDState hudState_;
  std::vector<Connection> connections_;
};

}  // namespace quillant
