#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "CaptureEngine/CaptureArea.h"
#include "CaptureEngine/CaptureResolution.h"
#include "CaptureEngine/ScreenService.h"
#include "quillant/Models/AreaSelectionModel.h"

namespace quillant {

/// The selection of an area on every display at once: only one of them has a rectangle. Belongs to the main
/// thread; whoever shows it goes before it.
class AreaSelectionOverlayController {
 public:
  enum class Key { commit, cancel, left, right, up, down };
  /// What a press of an arrow moves, in points: alone, and with Shift held.
  static constexpr double step = 1;
  static constexpr double largeStep = 10;
  static constexpr const char* hint = "Drag handles to adjust · ↑↓←→ to nudge";

  struct Callbacks {
    std::function<void(CaptureArea area, std::uint32_t displayID)> confirm;
    std::function<void()> cancel;
  };

  /// Of the callbacks one is called, once; it may destroy the controller.
  AreaSelectionOverlayController(std::vector<DisplayInfo> displays, CaptureResolution resolution,
                                 Callbacks callbacks);
  AreaSelectionOverlayController(const AreaSelectionOverlayController&) = delete;
  AreaSelectionOverlayController& operator=(const AreaSelectionOverlayController&) = delete;

  const std::vector<DisplayInfo>& displays() const { return displays_; }
  /// One a display, in their order.
  std::list<AreaSelectionModel>& models() { return models_; }
  /// The one that a rectangle was begun on last; null before.
  AreaSelectionModel* active() { return active_; }

  /// "1280 × 720": the pixels that the recording will have; empty without a rectangle.
  std::string sizeLabel(const AreaSelectionModel& model) const;
  void press(Key key, bool isShiftHeld = false);

 private:
  void begin(std::uint32_t displayID);
  void commit();
  std::optional<CaptureArea> areaOf(const AreaSelectionModel& model) const;

  const std::vector<DisplayInfo> displays_;
  const CaptureResolution resolution_;
  Callbacks callbacks_;  ///< Empty once one of them was called.
  std::list<AreaSelectionModel> models_;
  AreaSelectionModel* active_ = nullptr;
};

}  // namespace quillant
