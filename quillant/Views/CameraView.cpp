#include "quillant/Views/CameraView.h"

#include <QCoreApplication>
#include <QPainter>
#include <QPainterPath>
#include <mutex>
#include <utility>

#include "quillant/Views/Pictures.h"
#include "quillant/Views/Theme.h"

namespace quillant {

/// Takes pictures on the camera's thread, and keeps the newest until the view has time for it.
class CameraView::Layer : public CameraPreviewLayer, public std::enable_shared_from_this<Layer> {
 public:
  explicit Layer(CameraView& view) : view_(&view) {}

  void show(PixelBufferRef pixelBuffer) override {
    const std::scoped_lock lock(mutex_);
    if (std::exchange(newest_, std::move(pixelBuffer))) return;  // one is on its way already
    auto* application = QCoreApplication::instance();
    if (!application) return;
    QMetaObject::invokeMethod(
        application, [self = shared_from_this()] { self->deliver(); }, Qt::QueuedConnection);
  }
  /// On the view's thread, as its end.
  void leave() { view_ = nullptr; }

 private:
  void deliver() {
    PixelBufferRef picture;
    {
      const std::scoped_lock lock(mutex_);
      picture = std::exchange(newest_, nullptr);
    }
    if (!view_ || !view_->isActive_) return;
    view_->picture_ = Pictures::image(picture);
    view_->update();
  }

  CameraView* view_;  ///< Of the view's thread.
  std::mutex mutex_;
  PixelBufferRef newest_;
};

CameraView::CameraView(std::shared_ptr<CameraPreview> preview, QWidget* parent)
    : QWidget(parent), preview_(std::move(preview)), layer_(std::make_shared<Layer>(*this)) {
  auto policy = QSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
  policy.setHeightForWidth(true);
  setSizePolicy(policy);
  setAccessibleName(QCoreApplication::translate("CameraView", "What the camera sees"));
}

CameraView::~CameraView() {
  setActive(false);
  layer_->leave();
}

void CameraView::setActive(bool active) {
  if (std::exchange(isActive_, active) == active || !preview_) return;
  if (active) {
    preview_->show(layer_);
  } else {
    preview_->hide(layer_);
    picture_ = {};
  }
}

void CameraView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
  constexpr double radius = 8;
  QPainterPath outline;
  outline.addRoundedRect(QRectF(rect()), radius, radius);
  painter.fillPath(outline, Theme::faint(palette()));
  if (picture_.isNull()) return;
  painter.setClipPath(outline);
  painter.translate(width(), 0);
  painter.scale(-1, 1);
  QRect place(QPoint(), picture_.size().scaled(size(), Qt::KeepAspectRatioByExpanding));
  place.moveCenter(rect().center());
  painter.drawImage(place, picture_);
}

}  // namespace quillant
