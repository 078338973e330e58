#pragma once

#include <QImage>
#include <QWidget>
#include <memory>

#include "quillant/Models/CameraPreview.h"

namespace quillant {

/// What the camera sees, mirrored as in a glass, in a rounded frame.
class CameraView : public QWidget {
 public:
  /// Without a preview it stays empty. The camera is asked for while `setActive`.
  explicit CameraView(std::shared_ptr<CameraPreview> preview, QWidget* parent = nullptr);
  ~CameraView() override;
  void setActive(bool active);
  bool hasHeightForWidth() const override { return true; }
  int heightForWidth(int width) const override { return width * 9 / 16; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  class Layer;

  const std::shared_ptr<CameraPreview> preview_;
  const std::shared_ptr<Layer> layer_;
  bool isActive_ = false;
  QImage picture_;
};

}  // namespace quillant
