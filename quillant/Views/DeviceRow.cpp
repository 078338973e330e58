#include "quillant/Views/DeviceRow.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QVBoxLayout>
#include <utility>

namespace quillant {

DeviceRow::DeviceRow(const QString& name, std::function<void(bool)> onToggled) {
  rows_ = new QVBoxLayout(this);
  rows_->setContentsMargins(0, 0, 0, 0);
  rows_->setSpacing(4);
  first_ = new QHBoxLayout;
  rows_->addLayout(first_);
  toggle_ = new QCheckBox(name);
  first_->addWidget(toggle_);
  first_->addStretch();
  connect(toggle_, &QCheckBox::clicked, this, std::move(onToggled));
}

void DeviceRow::setOn(bool on) {
  toggle_->setChecked(on);
}

void DeviceRow::addBeside(QWidget* widget) {
  first_->addWidget(widget);
}

void DeviceRow::addBeneath(QWidget* widget) {
  rows_->addWidget(widget);
}

}  // namespace quillant
