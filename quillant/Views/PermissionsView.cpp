#include "quillant/Views/PermissionsView.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "Core/SystemWords.h"

namespace quillant {

namespace {

QString nameOf(PermissionKind kind) {
  switch (kind) {
    case PermissionKind::screenRecording:
      return PermissionsView::tr("Screen recording");
    case PermissionKind::microphone:
      return PermissionsView::tr("Microphone");
    case PermissionKind::camera:
      return PermissionsView::tr("Camera");
  }
  return {};
}

}  // namespace

PermissionsView::PermissionsView(const PopoverActions& actions) : actions_(actions) {
  rows_ = new QVBoxLayout(this);
  rows_->setContentsMargins(0, 0, 0, 0);
}

void PermissionsView::apply(const PopoverViewState& state) {
  if (state.permissions == shown_ && state.showRestartCard == showsRestartCard_) return;
  shown_ = state.permissions;
  showsRestartCard_ = state.showRestartCard;
  while (auto* item = rows_->takeAt(0)) {
    if (auto* widget = item->widget()) widget->deleteLater();
    delete item;
  }
  if (showsRestartCard_) rows_->addWidget(makeRestartCard());
  for (const auto& row : shown_) rows_->addWidget(makeRow(row));
}

QWidget* PermissionsView::makeRow(const PermissionRow& row) const {
  auto* widget = new QWidget;
  auto* layout = new QHBoxLayout(widget);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(new QLabel(nameOf(row.kind)));
  layout->addStretch();
  if (row.state == PermissionState::granted || row.state == PermissionState::grantedAfterRestart) {
    layout->addWidget(new QLabel(tr("Allowed")));
    return widget;
  }
  const auto settings = tr("Open %1").arg(QString::fromUtf8(SystemWords::settings.data()));
  const bool isDenied = row.state == PermissionState::denied;
  auto* button = new QPushButton(isDenied ? settings : tr("Allow"));
  button->setAccessibleName(button->text() + ", " + nameOf(row.kind));
  const auto ask = isDenied ? actions_.openSettingsPane : actions_.requestPermission;
  connect(button, &QPushButton::clicked, widget, [ask, kind = row.kind] {
    if (ask) ask(kind);
  });
  layout->addWidget(button);
  return widget;
}

QWidget* PermissionsView::makeRestartCard() const {
  auto* widget = new QWidget;
  auto* layout = new QVBoxLayout(widget);
  layout->setContentsMargins(0, 0, 0, 0);
  auto* text = new QLabel(tr("Screen recording is allowed from the next start of Quillant on."));
  text->setWordWrap(true);
  layout->addWidget(text);
  auto* button = new QPushButton(tr("Quit and Reopen"));
  connect(button, &QPushButton::clicked, widget, [restart = actions_.restart] {
    if (restart) restart();
  });
  layout->addWidget(button);
  return widget;
}

}  // namespace quillant
