#pragma once

#include <QPixmap>
#include <QWidget>

#include "Core/Signal.h"
#include "quillant/Models/CountdownOverlayController.h"

namespace quillant {

/// The seconds before a recording, in the middle of the display that will be recorded.
class CountdownWindow : public QWidget {
 public:
  static constexpr QSize size{180, 180};

  /// `picture` is what lies under the window, for desktops that show nothing through it. The controller
  /// outlives it.
  CountdownWindow(CountdownOverlayController& controller, QPixmap picture);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  CountdownOverlayController& controller_;
  const QPixmap picture_;
  Connection connection_;
};

}  // namespace quillant
