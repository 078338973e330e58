#include "quillant/Models/AreaSelectionOverlayController.h"

#include <fmt/format.h>
#include <utility>

#include "CaptureEngine/AreaCaptureMapper.h"

namespace quillant {

AreaSelectionOverlayController::AreaSelectionOverlayController(std::vector<DisplayInfo> displays,
                                                               CaptureResolution resolution,
                                                               Callbacks callbacks)
    : displays_(std::move(displays)), resolution_(resolution), callbacks_(std::move(callbacks)) {
  for (const auto& display : displays_)
    models_.emplace_back(display.id, Size{display.frame.width, display.frame.height},
                         [this, id = display.id] { begin(id); });
}

std::string AreaSelectionOverlayController::sizeLabel(const AreaSelectionModel& model) const {
  const auto area = areaOf(model);
  if (!area) return {};
  const auto geometry = AreaCaptureMapper::geometry(*area, model.displayID(), resolution_, displays_);
  return geometry ? fmt::format("{} × {}", geometry->outputWidth, geometry->outputHeight) : std::string();
}

void AreaSelectionOverlayController::press(Key key, bool isShiftHeld) {
  const double by = isShiftHeld ? largeStep : step;
  switch (key) {
    case Key::commit:
      return commit();
    case Key::cancel:
      if (const auto cancel = std::exchange(callbacks_, {}).cancel) cancel();
      return;
    case Key::left:
      if (active_) active_->nudge(-by, 0);
      return;
    case Key::right:
      if (active_) active_->nudge(by, 0);
      return;
    case Key::up:
      if (active_) active_->nudge(0, -by);
      return;
    case Key::down:
      if (active_) active_->nudge(0, by);
      return;
  }
}

void AreaSelectionOverlayController::begin(std::uint32_t displayID) {
  for (auto& model : models_)
    if (model.displayID() == displayID)
      active_ = &model;
    else
      model.clear();
}

void AreaSelectionOverlayController::commit() {
  if (!active_ || !active_->commit()) return;
  const auto area = areaOf(*active_);
  const auto confirm = std::exchange(callbacks_, {}).confirm;
  if (area && confirm) confirm(*area, active_->displayID());
}

std::optional<CaptureArea> AreaSelectionOverlayController::areaOf(const AreaSelectionModel& model) const {
  if (!model.rect()) return std::nullopt;
  return AreaCaptureMapper::area(*model.rect(), model.displayID(), displays_);
}

}  // namespace quillant
