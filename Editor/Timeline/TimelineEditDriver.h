#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "Core/Signal.h"
#include "Editor/Timeline/AutoZoomTelemetryProblem.h"
#include "Editor/Timeline/EditorHistory.h"
#include "Editor/Timeline/TimelineEditEvent.h"
#include "Editor/Timeline/TimelineEditState.h"

namespace quillant {

enum class RecordsUndo { no, yes };

/// Owns the live edit of an open project: carries events out, remembers what can be undone, and does what
/// events ask of the world. One thread, the main one.
class TimelineEditDriver {
 public:
  using History = EditorHistory<TimelineEditState>;
  /// The text of a telemetry file; none if there is no such file. Throws an `Error` if it cannot be read.
  using ReadTelemetry = std::function<std::optional<std::string>(const std::filesystem::path&)>;

  explicit TimelineEditDriver(ReadTelemetry readTelemetry);

  const TimelineEditState& state() const { return state_; }
  /// Why the last generation of zooms found no telemetry to work on; none if it did.
  std::optional<AutoZoomTelemetryProblem> autoZoomTelemetryProblem() const { return problem_; }
  const History& history() const { return history_; }
  /// Rises whenever an undoable edit, an undo, a redo or a load changes what the snapshot says.
  std::int64_t historyRevision() const { return historyRevision_; }

  /// Emitted after each change of any of the above.
  Signal<> changed;

  /// A step of undo is what changes the snapshot; selecting something, or a refusal, is none. Zooms are
  /// generated before it returns.
  void send(const TimelineEditEvent& event, RecordsUndo recordsUndo);
  void undo();
  void redo();
  /// Opens a stored edit. No undo leads back across it.
  void applySnapshot(const TimelineEditSnapshot& snapshot);
  /// Forgets what could be undone and redone, which counts as a change of history.
  void clearHistory();
  /// What was heard is no edit of the user's, and undo does not take it back.
  void setTranscript(const TimelineTranscript& transcript);

  void selectClip(const UUID& id);
  void selectAudioClip(const UUID& id);
  void select(std::optional<TimelineRegionKind> kind, const std::optional<UUID>& id);
  void toggleSelected(const TimelineSelectedItem& item);
  void clearSelection();

  /// Why a restore would be refused; none if it would work.
  std::optional<std::string> restoreRefusal(const TimelineEditEvent& event) const;
  bool canDeleteClip(const UUID& id, double duration) const;
  bool canSplitSelected(double outputTime, double duration) const;

 private:
  void step(std::optional<TimelineEditState> (History::*take)(TimelineEditState), const char* status);
  void perform(const GenerateAutoZooms& effect);
  void refuseAutoZooms(AutoZoomTelemetryProblem problem);

  const ReadTelemetry readTelemetry_;
  TimelineEditState state_;
  History history_;
  std::optional<AutoZoomTelemetryProblem> problem_;
  std::int64_t historyRevision_ = 0;
};

}  // namespace quillant
