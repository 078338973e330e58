#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMenu>
#include <QPointer>
#include <QSystemTrayIcon>
#include <QTimer>
#include <functional>
#include <memory>
#include <vector>

#include "Core/Signal.h"
#include "quillant/Models/RecorderModel.h"
#include "quillant/Models/RecorderTexts.h"

namespace quillant {

class PopoverView;

/// The item in the tray, its menu, and the panel. Where the desktop shows no tray the panel is an ordinary
/// window, so that nobody is left without a way in.
class MenuBarController : public QObject {
  Q_DECLARE_TR_FUNCTIONS(MenuBarController)

 public:
  struct Actions {
    std::function<void()> quit;
    std::function<bool()> startsAtLogin;
    std::function<void(bool)> setStartsAtLogin;
  };

  MenuBarController(std::shared_ptr<RecorderModel> model, Actions actions);
  ~MenuBarController() override;

  void showPanel();
  void hidePanel();
  void notify(const Toast& toast);

 protected:
  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  void makePanel();
  void togglePanel();
  void placePanel();
  void fillMenu();
  static void showBox(const QString& title, const QString& text);
  void showRecording();
  void lookForTray();

  const std::shared_ptr<RecorderModel> model_;
  const Actions actions_;
  QSystemTrayIcon tray_;
  QMenu menu_;
  std::unique_ptr<PopoverView> panel_;
  bool hasTray_ = false;
  QElapsedTimer sinceHidden_;
  QTimer trayTimer_;
  std::vector<Connection> connections_;
};

}  // namespace quillant
