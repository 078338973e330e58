#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quillant {

/// What the controls of a recording show.
struct HUDState {
  enum class Mode {
    hidden,
    recording,
    paused,
    saving,  ///< It has been stopped; its files are being closed.
  };
  /// The steps in which the level is shown.
  static constexpr int levelSteps = 12;

  Mode mode = Mode::hidden;
  std::int64_t seconds = 0;              ///< Recorded so far, pauses left out.
  std::optional<int> micLevel;           ///< From 0 to `levelSteps`; absent without a microphone.
  std::optional<std::string> freeSpace;  ///< "1.9 GB": set while the disk is short of space.

  /// "4:32", and "1:04:32" from an hour on.
  std::string clock() const;
  /// One line for those who do not see the controls, and for a tray: "Recording 4:32".
  std::string label() const;

  /// From a level between 0 and 1.
  static int levelStep(double level);

  friend bool operator==(const HUDState&, const HUDState&) = default;
};

}  // namespace quillant
