#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "CaptureEngine/RecordingCoordinator.h"
#include "quillant/Models/SourceMode.h"

namespace quillant {

/// What decides whether a recording may start.
struct StartConditions {
  RecordingCoordinator::Phase phase = RecordingCoordinator::Phase::idle;
  bool mayRecordScreen = false;
  std::int64_t freeBytes = 0;
  SourceMode mode = SourceMode::display;
  bool hasWindow = false;   ///< One is chosen.
  bool hasDisplay = false;  ///< One is chosen, or there is one to choose.
  /// Why there is nothing to record, where the system says more than that there is nothing.
  std::optional<std::string> sourceProblem;
};

/// Why a recording does not start, in words for the user.
struct StartRefusal {
  enum class Action { none, openScreenSettings, manageStorage };

  std::string title;
  std::string message;
  Action action = Action::none;  ///< What is offered beside it.
  std::string logReason;

  /// The first that applies; nothing if the recording may start.
  static std::optional<StartRefusal> of(const StartConditions& conditions);
  static StartRefusal noDisplay(const std::optional<std::string>& problem);

  friend bool operator==(const StartRefusal&, const StartRefusal&) = default;
};

}  // namespace quillant
