#include "quillant/Models/StartRefusal.h"

#include <fmt/format.h>

#include "CaptureEngine/DiskPressure.h"
#include "Core/ByteSize.h"
#include "Core/SystemWords.h"
#include "quillant/Models/DiskStatus.h"

namespace quillant {

std::optional<StartRefusal> StartRefusal::of(const StartConditions& conditions) {
  using Phase = RecordingCoordinator::Phase;
  if (conditions.phase == Phase::stopping)
    return StartRefusal{.title = "The last recording is still being saved",
                        .message = "Wait a moment for it to finish, then start again.",
                        .logReason = "phase=stopping"};
  if (conditions.phase == Phase::recording || conditions.phase == Phase::paused)
    return StartRefusal{.title = "A recording is already running",
                        .message = "Stop the current recording before starting a new one.",
                        .logReason = conditions.phase == Phase::paused ? "phase=paused" : "phase=recording"};
  if (!conditions.mayRecordScreen)
    return StartRefusal{.title = "Quillant needs Screen Recording permission",
                        .message = fmt::format("Turn on Quillant in {}, then quit and reopen Quillant.",
                                               SystemWords::whereToAllow("Screen Recording", " › ")),
                        .action = Action::openScreenSettings,
                        .logReason = "screen-permission"};
  if (diskStatus(conditions.freeBytes) == DiskStatus::blocked) {
    const auto free = ByteSize::fileSize(conditions.freeBytes);
    return StartRefusal{
        .title = "Not enough disk space to record",
        .message = fmt::format("Only {} is free. Quillant needs at least {} free so a recording never stops "
                               "partway. Free up some space, then try again.",
                               free, ByteSize::fileSize(DiskPressure::floorBytes)),
        .action = Action::manageStorage,
        .logReason = "disk-floor free=" + free};
  }
  if (conditions.mode == SourceMode::window && !conditions.hasWindow)
    return StartRefusal{.title = "Choose a window first",
                        .message =
                            "Window recording is selected but no window is chosen. Pick one in the "
                            "Quillant menu-bar panel, or switch to Display.",
                        .logReason = "no-window"};
  if (conditions.mode != SourceMode::area && !conditions.hasDisplay)
    return noDisplay(conditions.sourceProblem);
  return std::nullopt;
}

StartRefusal StartRefusal::noDisplay(const std::optional<std::string>& problem) {
  return {.title = "No screen to record",
          .message = problem.value_or("Quillant couldn't find a display to record. Check that a display is "
                                      "connected, then try again."),
          .logReason = "no-display"};
}

}  // namespace quillant
