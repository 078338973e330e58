#pragma once

#include <QWidget>
#include <functional>

class QCheckBox;
class QHBoxLayout;
class QVBoxLayout;

namespace quillant {

/// One source beside the picture: whether it is recorded, and beneath it what belongs to it.
class DeviceRow : public QWidget {
 public:
  DeviceRow(const QString& name, std::function<void(bool)> onToggled);
  void setOn(bool on);
  /// Beside the name, and beneath it.
  void addBeside(QWidget* widget);
  void addBeneath(QWidget* widget);

 private:
  QCheckBox* toggle_ = nullptr;
  QHBoxLayout* first_ = nullptr;
  QVBoxLayout* rows_ = nullptr;
};

}  // namespace quillant
