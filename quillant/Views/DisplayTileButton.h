#pragma once

#include <QAbstractButton>
#include <QImage>

#include "quillant/Models/PopoverViewState.h"

namespace quillant {

/// A display to choose: what it shows, and its name.
class DisplayTileButton : public QAbstractButton {
 public:
  explicit DisplayTileButton(QWidget* parent = nullptr);
  void apply(const DisplayTile& tile);
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QImage picture_;
};

}  // namespace quillant
