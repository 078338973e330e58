#pragma once

#include <functional>
#include <string>

#include "quillant/Models/RecorderPresenting.h"

namespace quillant {

/// Shows what comes before a recording on the desktop's screens.
class DesktopPresenter : public RecorderPresenting {
 public:
  /// `displayName` says how the system calls a display; empty if it is not known.
  explicit DesktopPresenter(std::function<std::string(std::uint32_t displayID)> displayName)
      : displayName_(std::move(displayName)) {}

  Task<std::size_t> ask(Alert alert) override;
  std::unique_ptr<Presentation> show(AreaSelectionOverlayController& controller) override;
  std::unique_ptr<Presentation> show(CountdownOverlayController& controller) override;

 private:
  const std::function<std::string(std::uint32_t)> displayName_;
};

}  // namespace quillant
