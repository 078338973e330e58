#include "quillant/Views/DesktopPresenter.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <utility>
#include <vector>

#include "quillant/Views/AlertDialog.h"
#include "quillant/Views/AreaOverlayWindow.h"
#include "quillant/Views/CountdownWindow.h"

namespace quillant {

namespace {

/// Windows that are taken down together.
class ShownWindows : public Presentation {
 public:
  /// It may be in the middle of an event of one of them, which is therefore destroyed after that.
  ~ShownWindows() override {
    for (auto* window : windows_) {
      window->hide();
      window->deleteLater();
    }
  }

  void show(QWidget& window) {
    windows_.push_back(&window);
    window.show();
    window.raise();
    window.activateWindow();
  }

 private:
  std::vector<QWidget*> windows_;
};

/// The screen of a name; the main one where Qt calls it otherwise.
QScreen& screenOf(const std::string& name) {
  for (auto* screen : QGuiApplication::screens())
    if (screen->name().toStdString() == name) return *screen;
  return *QGuiApplication::primaryScreen();
}

}  // namespace

Task<std::size_t> DesktopPresenter::ask(Alert alert) {
  return AlertDialog::ask(std::move(alert));
}

std::unique_ptr<Presentation> DesktopPresenter::show(AreaSelectionOverlayController& controller) {
  auto shown = std::make_unique<ShownWindows>();
  for (auto& model : controller.models()) {
    auto& screen = screenOf(displayName_(model.displayID()));
    auto* window = new AreaOverlayWindow(controller, model, screen.grabWindow(0));
    window->setGeometry(screen.geometry());
    shown->show(*window);
  }
  return shown;
}

std::unique_ptr<Presentation> DesktopPresenter::show(CountdownOverlayController& controller) {
  auto shown = std::make_unique<ShownWindows>();
  auto& screen = screenOf(displayName_(controller.displayID()));
  QRect place(QPoint(), CountdownWindow::size);
  place.moveCenter(screen.geometry().center());
  const auto within = place.translated(-screen.geometry().topLeft());
  auto* window = new CountdownWindow(
      controller, screen.grabWindow(0, within.x(), within.y(), within.width(), within.height()));
  window->setGeometry(place);
  shown->show(*window);
  return shown;
}

}  // namespace quillant
