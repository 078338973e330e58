#include "HUDKit/HUDState.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace quillant {

std::string HUDState::clock() const {
  const auto hours = seconds / 3600;
  const auto minutes = seconds / 60 % 60;
  return hours > 0 ? fmt::format("{}:{:02}:{:02}", hours, minutes, seconds % 60)
                   : fmt::format("{}:{:02}", minutes, seconds % 60);
}

std::string HUDState::label() const {
  switch (mode) {
    case Mode::hidden:
      return {};
    case Mode::recording:
      return "Recording " + clock();
    case Mode::paused:
      return "Paused at " + clock();
    case Mode::saving:
      return "Saving the recording…";
  }
  return {};
}

int HUDState::levelStep(double level) {
  return static_cast<int>(std::lround(std::clamp(level, 0.0, 1.0) * levelSteps));
}

}  // namespace quillant
