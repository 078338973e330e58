#include "quillant/Views/AlertDialog.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QPushButton>
#include <algorithm>
#include <utility>
#include <vector>

namespace quillant::AlertDialog {

namespace {

QMessageBox::ButtonRole roleOf(Alert::Role role) {
  switch (role) {
    case Alert::Role::normal:
      return QMessageBox::AcceptRole;
    case Alert::Role::destructive:
      return QMessageBox::DestructiveRole;
    case Alert::Role::cancel:
      return QMessageBox::RejectRole;
  }
  return QMessageBox::RejectRole;
}

}  // namespace

Task<std::size_t> ask(Alert alert) {
  auto* box = new QMessageBox;
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->setWindowTitle("Quillant");
  box->setWindowFlag(Qt::WindowStaysOnTopHint);
  box->setTextFormat(Qt::PlainText);
  box->setText(QString::fromStdString(alert.title));
  box->setInformativeText(QString::fromStdString(alert.message));
  std::vector<QAbstractButton*> buttons;
  for (const auto& button : alert.buttons) {
    auto* added = box->addButton(QString::fromStdString(button.title), roleOf(button.role));
    if (button.role == Alert::Role::cancel) box->setEscapeButton(added);
    // Enter must not throw anything away.
    const bool isSafe = button.role != Alert::Role::destructive;
    if (isSafe && !box->defaultButton()) box->setDefaultButton(added);
    buttons.push_back(added);
  }
  const Continuation<std::size_t> answered(co_await asio::this_coro::executor);
  QObject::connect(box, &QDialog::finished, box, [box, buttons, answered] {
    const auto pressed = std::ranges::find(buttons, box->clickedButton());
    const auto index = static_cast<std::size_t>(pressed - buttons.begin());
    answered.resume(std::min(index, buttons.size() - 1));
  });
  box->show();
  box->raise();
  box->activateWindow();
  co_return co_await answered.wait();
}

}  // namespace quillant::AlertDialog
