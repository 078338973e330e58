#include "Editor/Timeline/TimelineEditDriver.h"

#include <utility>

#include "CaptureEngine/Telemetry/CursorTelemetryCodec.h"
#include "Core/Error.h"
#include "Editor/Timeline/AutoZoomGenerator.h"

namespace quillant {

namespace {

bool snapshotsDiffer(const TimelineEditState& left, const TimelineEditState& right) {
  return left.snapshot != right.snapshot;
}

/// What the state would be after an event.
TimelineEditState dryRun(TimelineEditState state, const TimelineEditEvent& event) {
  state.applying(event);
  return state;
}

}  // namespace

TimelineEditDriver::TimelineEditDriver(ReadTelemetry readTelemetry)
    : readTelemetry_(std::move(readTelemetry)) {}

void TimelineEditDriver::send(const TimelineEditEvent& event, RecordsUndo recordsUndo) {
  auto old = state_;
  const auto effects = state_.applying(event);
  if (recordsUndo == RecordsUndo::yes && snapshotsDiffer(old, state_)) {
    history_.recordChange(std::move(old));
    ++historyRevision_;
  }
  changed.emit();
  for (const auto& effect : effects) std::visit([this](const auto& asked) { perform(asked); }, effect);
}

void TimelineEditDriver::step(std::optional<TimelineEditState> (History::*take)(TimelineEditState),
                              const char* status) {
  auto next = (history_.*take)(state_);
  if (!next) return;
  state_ = std::move(*next);
  state_.statusMessage = status;
  ++historyRevision_;
  changed.emit();
}

void TimelineEditDriver::undo() {
  step(&History::undo, "Undid timeline edit.");
}

void TimelineEditDriver::redo() {
  step(&History::redo, "Redid timeline edit.");
}

void TimelineEditDriver::applySnapshot(const TimelineEditSnapshot& snapshot) {
  state_.applying(TimelineEvents::ApplySnapshot{snapshot});
  clearHistory();
}

void TimelineEditDriver::clearHistory() {
  history_ = {};
  ++historyRevision_;
  changed.emit();
}

void TimelineEditDriver::setTranscript(const TimelineTranscript& transcript) {
  send(TimelineEvents::SetTranscript{transcript}, RecordsUndo::no);
}

void TimelineEditDriver::selectClip(const UUID& id) {
  send(TimelineEvents::SelectClip{id}, RecordsUndo::no);
}

void TimelineEditDriver::selectAudioClip(const UUID& id) {
  send(TimelineEvents::SelectAudioClip{id}, RecordsUndo::no);
}

void TimelineEditDriver::select(std::optional<TimelineRegionKind> kind, const std::optional<UUID>& id) {
  send(TimelineEvents::Select{kind, id}, RecordsUndo::no);
}

void TimelineEditDriver::toggleSelected(const TimelineSelectedItem& item) {
  send(TimelineEvents::ToggleSelected{item}, RecordsUndo::no);
}

void TimelineEditDriver::clearSelection() {
  send(TimelineEvents::ClearSelection{}, RecordsUndo::no);
}

std::optional<std::string> TimelineEditDriver::restoreRefusal(const TimelineEditEvent& event) const {
  auto after = dryRun(state_, event);
  if (snapshotsDiffer(state_, after)) return std::nullopt;
  return std::move(after.statusMessage);
}

bool TimelineEditDriver::canDeleteClip(const UUID& id, double duration) const {
  return snapshotsDiffer(state_, dryRun(state_, TimelineEvents::DeleteClip{id, duration}));
}

bool TimelineEditDriver::canSplitSelected(double outputTime, double duration) const {
  return snapshotsDiffer(state_, dryRun(state_, TimelineEvents::SplitSelected{outputTime, duration}));
}

void TimelineEditDriver::perform(const GenerateAutoZooms& effect) {
  auto telemetry = effect.videoURL;
  telemetry.replace_extension("cursor.json");
  std::vector<TimelineZoomRegion> zooms;
  try {
    const auto text = readTelemetry_(telemetry);
    if (!text) return refuseAutoZooms(AutoZoomTelemetryProblem::missing);
    zooms = AutoZoomGenerator::generate(CursorTelemetryCodec::decode(*text), effect.duration, effect.preset);
  } catch (const Error&) {
    return refuseAutoZooms(AutoZoomTelemetryProblem::unreadable);
  }
  problem_.reset();
  send(TimelineEvents::ReplaceAutoZooms{std::move(zooms)}, RecordsUndo::yes);
}

void TimelineEditDriver::refuseAutoZooms(AutoZoomTelemetryProblem problem) {
  problem_ = problem;
  state_.statusMessage =
      problem == AutoZoomTelemetryProblem::missing
          ? "This recording has no pointer track, so auto-zoom can't find moments. Add zooms by hand."
          : "This recording's pointer track couldn't be read, so auto-zoom can't find moments. Add zooms by "
            "hand.";
  changed.emit();
}

}  // namespace quillant
