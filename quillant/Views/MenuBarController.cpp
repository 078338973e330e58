#include "quillant/Views/MenuBarController.h"

#include <QAction>
#include <QApplication>
#include <QCursor>
#include <QEvent>
#include <QKeyEvent>
#include <QMessageBox>
#include <QScreen>
#include <algorithm>
#include <utility>

#include "quillant/Views/PopoverView.h"
#include "quillant/Views/TrayIcon.h"

namespace quillant {

namespace {

/// A click on the item takes the focus from the panel first: what was hidden by it is not shown again.
constexpr int oneClick = 300;  // milliseconds
/// Trays come with their panel, and go when it is started again.
constexpr int trayInterval = 5000;

}  // namespace

MenuBarController::MenuBarController(std::shared_ptr<RecorderModel> model, Actions actions)
    : model_(std::move(model)), actions_(std::move(actions)) {
  makePanel();
  tray_.setContextMenu(&menu_);
  connect(&menu_, &QMenu::aboutToShow, this, &MenuBarController::fillMenu);
  fillMenu();
  connect(&tray_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
    if (reason == QSystemTrayIcon::Trigger) togglePanel();
  });
  connections_.push_back(model_->viewStateChanged.connect([this] { panel_->apply(model_->viewState()); }));
  connections_.push_back(model_->hudChanged.connect([this] { showRecording(); }));
  showRecording();
  connect(&trayTimer_, &QTimer::timeout, this, &MenuBarController::lookForTray);
  trayTimer_.start(trayInterval);
  lookForTray();
}

MenuBarController::~MenuBarController() = default;

void MenuBarController::makePanel() {
  panel_ = std::make_unique<PopoverView>(model_->popoverActions());
  panel_->installEventFilter(this);
  panel_->setWindowIcon(QIcon::fromTheme("quillant", TrayIcon::recording()));
  panel_->apply(model_->viewState());
}

void MenuBarController::togglePanel() {
  if (panel_->isVisible())
    hidePanel();
  else if (!sinceHidden_.isValid() || sinceHidden_.elapsed() > oneClick)
    showPanel();
}

void MenuBarController::showPanel() {
  panel_->adjustSize();
  placePanel();
  panel_->show();
  panel_->raise();
  panel_->activateWindow();
}

void MenuBarController::hidePanel() {
  if (hasTray_)
    panel_->hide();
  else
    panel_->showMinimized();
}

/// Beside the item, else where the pointer is: not every tray says where its items are.
void MenuBarController::placePanel() {
  if (!hasTray_) return;
  const auto item = tray_.geometry();
  const auto anchor = item.isValid() ? item.center() : QCursor::pos();
  const auto* screen = QGuiApplication::screenAt(anchor);
  if (!screen) screen = QGuiApplication::primaryScreen();
  const auto space = screen->availableGeometry();
  QRect place(QPoint(), panel_->size());
  place.moveCenter(anchor);
  place.moveTop(anchor.y() < space.center().y() ? space.top() : space.bottom() - place.height() + 1);
  place.moveLeft(
      std::clamp(place.left(), space.left(), std::max(space.left(), space.right() - place.width() + 1)));
  panel_->move(place.topLeft());
}

void MenuBarController::notify(const Toast& toast) {
  if (!hasTray_) {
    showBox(QString::fromStdString(toast.title), QString::fromStdString(toast.text));
    return;
  }
  tray_.showMessage(QString::fromStdString(toast.title), QString::fromStdString(toast.text),
                    QIcon::fromTheme("quillant", TrayIcon::recording()));
}

bool MenuBarController::eventFilter(QObject* object, QEvent* event) {
  switch (event->type()) {
    case QEvent::Show:
      model_->popoverDidOpen();
      break;
    case QEvent::Hide:
      sinceHidden_.start();
      model_->popoverDidClose();
      break;
    case QEvent::WindowDeactivate:
      if (hasTray_ && !QApplication::activePopupWidget()) hidePanel();
      break;
    case QEvent::KeyPress:
      if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) hidePanel();
      break;
    case QEvent::Close:
      if (!hasTray_ && actions_.quit) actions_.quit();  // the last way in
      break;
    default:
      break;
  }
  return QObject::eventFilter(object, event);
}

void MenuBarController::fillMenu() {
  menu_.clear();
  const auto add = [this](const QString& text, std::function<void()> action) {
    return connect(menu_.addAction(text), &QAction::triggered, this, std::move(action));
  };
  const auto mode = model_->hudState().mode;
  if (mode == HUDState::Mode::hidden || mode == HUDState::Mode::saving) {
    add(tr("Start Recording"), [this] { model_->toggleRecord(); });
    add(tr("Show Panel"), [this] { showPanel(); });
  } else {
    add(tr("Stop Recording"), [this] { model_->toggleRecord(); });
    if (mode == HUDState::Mode::paused)
      add(tr("Resume"), [this] { model_->resume(); });
    else
      add(tr("Pause"), [this] { model_->pause(); });
    add(tr("Discard…"), [this] { model_->hudDiscard(); });
  }
  menu_.addSeparator();
  auto* login = menu_.addAction(tr("Start at Login"));
  login->setCheckable(true);
  login->setChecked(actions_.startsAtLogin());
  connect(login, &QAction::triggered, this, actions_.setStartsAtLogin);
  menu_.addSeparator();
  add(tr("About Quillant"), [] {
    showBox(tr("Quillant %1").arg(QCoreApplication::applicationVersion()),
            tr("Records the screen, makes videos of recordings, and shares them."));
  });
  add(tr("Quit Quillant"), actions_.quit);
}

void MenuBarController::showBox(const QString& title, const QString& text) {
  auto* box = new QMessageBox(QMessageBox::NoIcon, "Quillant", title, QMessageBox::Ok);
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->setTextFormat(Qt::PlainText);
  box->setInformativeText(text);
  box->show();
}

void MenuBarController::showRecording() {
  const auto& state = model_->hudState();
  const bool isRecording = state.mode != HUDState::Mode::hidden;
  tray_.setIcon(isRecording ? TrayIcon::recording() : TrayIcon::idle(QApplication::palette()));
  tray_.setToolTip(isRecording ? QString::fromStdString(state.label()) : "Quillant");
}

void MenuBarController::lookForTray() {
  const bool hasTray = QSystemTrayIcon::isSystemTrayAvailable();
  if (hasTray == hasTray_ && (hasTray || panel_->isVisible())) return;
  hasTray_ = hasTray;
  panel_->hide();
  panel_->setWindowFlags(hasTray ? Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                                 : Qt::Window);
  if (hasTray)
    tray_.show();
  else
    showPanel();
}

}  // namespace quillant
