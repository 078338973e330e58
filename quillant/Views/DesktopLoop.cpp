#include "quillant/Views/DesktopLoop.h"

#include <QApplication>

#include "quillant/Views/QtLoop.h"

namespace quillant {

struct DesktopLoop::Application {
  std::string name = "quillant";
  int count = 1;
  char* arguments[2] = {name.data(), nullptr};
  QApplication application{count, arguments};
  QtLoop loop{application};
};

DesktopLoop::DesktopLoop(const std::string& version) : application_(std::make_unique<Application>()) {
  QCoreApplication::setApplicationVersion(QString::fromStdString(version));
  QGuiApplication::setDesktopFileName("quillant");
  // It lives in the tray: an alert that is closed is not its end.
  QApplication::setQuitOnLastWindowClosed(false);
}

DesktopLoop::~DesktopLoop() = default;

Executor DesktopLoop::executor() const {
  return application_->loop.executor();
}

void DesktopLoop::run() {
  QCoreApplication::exec();
}

void DesktopLoop::quit() {
  QCoreApplication::quit();
}

}  // namespace quillant
