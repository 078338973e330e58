#pragma once

#include <QWidget>

namespace quillant {

/// How loud a microphone is, as a row of bars.
class LevelMeter : public QWidget {
 public:
  explicit LevelMeter(int bars, QWidget* parent = nullptr);
  /// How many of the bars are lit.
  void setLit(int lit);
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  const int bars_;
  int lit_ = 0;
};

}  // namespace quillant
