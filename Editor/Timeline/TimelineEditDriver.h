#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Core/OwningSequence.h"
#include "Core/Signal.h"
#include "Editor/Timeline/AutoZoomTelemetryProblem.h"
#include "Editor/Timeline/EditorHistory.h"
#include "Editor/Timeline/TimelineEditEvent.h"
#include "Editor/Timeline/TimelineEditState.h"

namespace quillant {

enum class RecordsUndo { no, yes };

/// What a driver shows at one moment. A copy shares what it has in common with others.
struct TimelineEditMoment {
  TimelineEditState state;
  /// Why the last generation of zooms found no telemetry to work on; none if it did.
  std::optional<AutoZoomTelemetryProblem> autoZoomTelemetryProblem;
  /// Rises whenever an undoable edit, an undo, a redo or a load changes what the snapshot says.
  std::int64_t historyRevision = 0;

  friend bool operator==(const TimelineEditMoment&, const TimelineEditMoment&) = default;
};

/// Owns the live edit of an open project: carries events out, remembers what can be undone, and does what
/// events ask of the world. It belongs to the thread that makes it, the main one.
class TimelineEditDriver {
 public:
  using History = EditorHistory<TimelineEditState>;
  /// The text of a telemetry file; none if there is no such file. Throws an `Error` if it cannot be read.
  using ReadTelemetry = std::function<std::optional<std::string>(const std::filesystem::path&)>;

  explicit TimelineEditDriver(ReadTelemetry readTelemetry);

  const TimelineEditState& state() const { return now_.state; }
  std::optional<AutoZoomTelemetryProblem> autoZoomTelemetryProblem() const {
    return now_.autoZoomTelemetryProblem;
  }
  std::int64_t historyRevision() const { return now_.historyRevision; }
  const History& history() const { return history_; }

  /// What was and what is, once for each call below that made a difference. A handler may call the driver:
  /// its change is emitted when all have been notified of the first one. It may destroy the driver, too.
  Signal<TimelineEditMoment, TimelineEditMoment> changed;

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
  using Changes = std::deque<std::pair<TimelineEditMoment, TimelineEditMoment>>;

  void carryOut(const TimelineEditEvent& event, RecordsUndo recordsUndo);
  void step(std::optional<TimelineEditState> (History::*take)(TimelineEditState), const char* status);
  void perform(const GenerateAutoZooms& effect);
  void refuseAutoZooms(AutoZoomTelemetryProblem problem);
  /// Emits the change since `before`. The driver may be gone when it returns.
  void tell(TimelineEditMoment before);

  const OwningSequence sequence_;
  const ReadTelemetry readTelemetry_;
  TimelineEditMoment now_;
  History history_;
  std::shared_ptr<Changes> untold_;  // null while none is being told
};

}  // namespace quillant
