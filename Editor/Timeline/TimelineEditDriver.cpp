#include "Editor/Timeline/TimelineEditDriver.h"

#include <cassert>
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

void TimelineEditDriver::tell(TimelineEditMoment before) {
  if (before == now_) return;
  if (untold_) {
    untold_->emplace_back(std::move(before), now_);
    return;
  }
  const auto untold = untold_ = std::make_shared<Changes>();
  untold->emplace_back(std::move(before), now_);
  while (!untold->empty()) {
    const auto [was, is] = std::move(untold->front());
    untold->pop_front();
    changed.emit(was, is);
    if (untold.use_count() == 1) return;  // a handler has destroyed this driver
  }
  untold_ = nullptr;
}

void TimelineEditDriver::send(const TimelineEditEvent& event, RecordsUndo recordsUndo) {
  auto before = now_;
  carryOut(event, recordsUndo);
  tell(std::move(before));
}

void TimelineEditDriver::carryOut(const TimelineEditEvent& event, RecordsUndo recordsUndo) {
  assert(sequence_.isCurrent());
  auto old = now_.state;
  const auto effects = now_.state.applying(event);
  if (recordsUndo == RecordsUndo::yes && snapshotsDiffer(old, now_.state)) {
    history_.recordChange(std::move(old));
    ++now_.historyRevision;
  }
  for (const auto& effect : effects) std::visit([this](const auto& asked) { perform(asked); }, effect);
}

void TimelineEditDriver::step(std::optional<TimelineEditState> (History::*take)(TimelineEditState),
                              const char* status) {
  assert(sequence_.isCurrent());
  auto next = (history_.*take)(now_.state);
  if (!next) return;
  auto before = now_;
  now_.state = std::move(*next);
  now_.state.statusMessage = status;
  ++now_.historyRevision;
  tell(std::move(before));
}

void TimelineEditDriver::undo() {
  step(&History::undo, "Undid timeline edit.");
}

void TimelineEditDriver::redo() {
  step(&History::redo, "Redid timeline edit.");
}

void TimelineEditDriver::applySnapshot(const TimelineEditSnapshot& snapshot) {
  auto before = now_;
  carryOut(TimelineEvents::ApplySnapshot{snapshot}, RecordsUndo::no);
  history_ = {};
  ++now_.historyRevision;
  tell(std::move(before));
}

void TimelineEditDriver::clearHistory() {
  assert(sequence_.isCurrent());
  auto before = now_;
  history_ = {};
  ++now_.historyRevision;
  tell(std::move(before));
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
  auto after = dryRun(state(), event);
  if (snapshotsDiffer(state(), after)) return std::nullopt;
  return std::move(after.statusMessage);
}

bool TimelineEditDriver::canDeleteClip(const UUID& id, double duration) const {
  return snapshotsDiffer(state(), dryRun(state(), TimelineEvents::DeleteClip{id, duration}));
}

bool TimelineEditDriver::canSplitSelected(double outputTime, double duration) const {
  return snapshotsDiffer(state(), dryRun(state(), TimelineEvents::SplitSelected{outputTime, duration}));
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
  now_.autoZoomTelemetryProblem.reset();
  carryOut(TimelineEvents::ReplaceAutoZooms{std::move(zooms)}, RecordsUndo::yes);
}

void TimelineEditDriver::refuseAutoZooms(AutoZoomTelemetryProblem problem) {
  now_.autoZoomTelemetryProblem = problem;
  now_.state.statusMessage =
      problem == AutoZoomTelemetryProblem::missing
          ? "This recording has no pointer track, so auto-zoom can't find moments. Add zooms by hand."
          : "This recording's pointer track couldn't be read, so auto-zoom can't find moments. Add zooms by "
            "hand.";
}

}  // namespace quillant
