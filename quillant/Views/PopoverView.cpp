#include "quillant/Views/PopoverView.h"

#include <QComboBox>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "HUDKit/HUDState.h"
#include "quillant/Views/CameraView.h"
#include "quillant/Views/DeviceRow.h"
#include "quillant/Views/LevelMeter.h"
#include "quillant/Views/PermissionsView.h"
#include "quillant/Views/SourcePicker.h"
#include "quillant/Views/Theme.h"

namespace quillant {

namespace {

constexpr int panelWidth = 360;
constexpr int margin = 16;

QFrame* line() {
  auto* frame = new QFrame;
  frame->setFrameShape(QFrame::HLine);
  frame->setFrameShadow(QFrame::Sunken);
  return frame;
}

void setBackground(QWidget& widget, const QColor& color) {
  auto palette = widget.palette();
  palette.setColor(QPalette::Window, color);
  widget.setPalette(palette);
}

}  // namespace

PopoverView::PopoverView(PopoverActions actions) : actions_(std::move(actions)) {
  setWindowTitle("Quillant");
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(margin, margin, margin, margin);
  layout->setSpacing(12);
  // As high as what it shows, and always as wide.
  layout->setSizeConstraint(QLayout::SetFixedSize);
  layout->addSpacerItem(new QSpacerItem(panelWidth - 2 * margin, 0));
  layout->addWidget(makeBanner());
  permissions_ = new PermissionsView(actions_);
  layout->addWidget(permissions_);
  sources_ = new SourcePicker(actions_);
  layout->addWidget(sources_);
  layout->addWidget(line());
  layout->addWidget(makeSound());
  layout->addWidget(makeCamera());
  layout->addWidget(line());
  layout->addWidget(makeFooter());
}

QWidget* PopoverView::makeBanner() {
  banner_ = new QFrame;
  banner_->setAutoFillBackground(true);
  auto* layout = new QVBoxLayout(banner_);
  bannerHeading_ = new QLabel;
  auto bold = bannerHeading_->font();
  bold.setBold(true);
  bannerHeading_->setFont(bold);
  bannerText_ = new QLabel;
  bannerText_->setWordWrap(true);
  storage_ = new QPushButton(tr("Manage Storage"));
  connect(storage_, &QPushButton::clicked, this, [this] {
    if (actions_.manageStorage) actions_.manageStorage();
  });
  for (QWidget* part : {static_cast<QWidget*>(bannerHeading_), static_cast<QWidget*>(bannerText_)})
    layout->addWidget(part);
  layout->addWidget(storage_, 0, Qt::AlignLeft);
  return banner_;
}

QWidget* PopoverView::makeSound() {
  auto* box = new QWidget;
  auto* layout = new QVBoxLayout(box);
  layout->setContentsMargins(0, 0, 0, 0);
  mic_ = new DeviceRow(tr("Microphone"), actions_.setMic);
  level_ = new LevelMeter(HUDState::levelSteps);
  mic_->addBeside(level_);
  mics_ = new QComboBox;
  mics_->setAccessibleName(tr("Which microphone"));
  mics_->setMaximumWidth(panelWidth - 2 * margin);
  mics_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  connect(mics_, &QComboBox::activated, this,
          [this](int index) { actions_.selectMic(shownMics_[static_cast<std::size_t>(index)].id); });
  mic_->addBeneath(mics_);
  noMic_ = new QLabel(tr("No microphone was found."));
  mic_->addBeneath(noMic_);
  allowMic_ = new QPushButton(tr("Allow the Microphone"));
  connect(allowMic_, &QPushButton::clicked, this,
          [this] { actions_.requestPermission(PermissionKind::microphone); });
  mic_->addBeneath(allowMic_);
  layout->addWidget(mic_);
  systemAudio_ = new DeviceRow(tr("System sound"), actions_.setSystemAudio);
  layout->addWidget(systemAudio_);
  return box;
}

QWidget* PopoverView::makeCamera() {
  camera_ = new DeviceRow(tr("Camera"), actions_.setCamera);
  cameraName_ = new QLabel;
  cameraName_->setTextFormat(Qt::PlainText);
  cameraName_->setMaximumWidth(panelWidth / 2);
  camera_->addBeside(cameraName_);
  preview_ = new CameraView(actions_.cameraSession);
  camera_->addBeneath(preview_);
  return camera_;
}

QWidget* PopoverView::makeFooter() {
  auto* box = new QWidget;
  auto* layout = new QVBoxLayout(box);
  layout->setContentsMargins(0, 0, 0, 0);
  record_ = new QPushButton;
  record_->setDefault(true);
  constexpr int height = 36;
  record_->setMinimumHeight(height);
  connect(record_, &QPushButton::clicked, this, [this] { actions_.toggleRecord(); });
  layout->addWidget(record_);
  auto* row = new QHBoxLayout;
  shortcut_ = new QLabel;
  shortcut_->setForegroundRole(QPalette::PlaceholderText);
  row->addWidget(shortcut_);
  row->addStretch();
  auto* library = new QPushButton(tr("Recordings"));
  library->setFlat(true);
  connect(library, &QPushButton::clicked, this, [this] {
    if (actions_.openLibrary) actions_.openLibrary();
  });
  row->addWidget(library);
  layout->addLayout(row);
  return box;
}

void PopoverView::apply(const PopoverViewState& state) {
  applyBanner(state.banner);
  permissions_->setVisible(state.showPermissions);
  permissions_->apply(state);
  sources_->setVisible(!state.showPermissions);
  sources_->apply(state);
  mic_->setOn(state.micOn);
  level_->setLit(state.micOn ? HUDState::levelStep(state.micLevel) : 0);
  applyMics(state);
  systemAudio_->setOn(state.systemAudioOn);
  camera_->setOn(state.cameraOn);
  const auto camera = QString::fromStdString(state.cameraDeviceName);
  cameraName_->setText(camera.isEmpty() ? tr("No camera") : camera);
  preview_->setVisible(state.cameraPreviewActive);
  preview_->setActive(state.cameraPreviewActive);
  record_->setText(QString::fromStdString(state.record.title));
  record_->setEnabled(state.record.enabled);
  auto palette = QPalette(this->palette());
  if (state.record.isRecording) {
    palette.setColor(QPalette::Button, Theme::recordColor());
    palette.setColor(QPalette::ButtonText, Qt::white);
  }
  record_->setPalette(palette);
  shortcut_->setText(QString::fromStdString(state.shortcutLabel));
  shortcut_->setAccessibleName(tr("Shortcut: %1").arg(shortcut_->text()));
}

void PopoverView::applyBanner(const PopoverViewState::Banner& banner) {
  const bool isBlocked = std::holds_alternative<PopoverViewState::Banner::DiskBlock>(banner.kind);
  const bool isOfDisk = isBlocked || std::holds_alternative<PopoverViewState::Banner::DiskWarn>(banner.kind);
  banner_->setVisible(banner != PopoverViewState::Banner());
  bannerHeading_->setText(QString::fromStdString(banner.heading()));
  bannerHeading_->setVisible(!bannerHeading_->text().isEmpty());
  bannerText_->setText(QString::fromStdString(banner.text()));
  storage_->setVisible(isOfDisk);
  setBackground(*banner_,
                isBlocked ? Theme::blockBackground(palette()) : Theme::warningBackground(palette()));
}

void PopoverView::applyMics(const PopoverViewState& state) {
  if (state.micDevices != shownMics_) {
    shownMics_ = state.micDevices;
    mics_->clear();
    for (const auto& option : shownMics_) mics_->addItem(QString::fromStdString(option.name));
  }
  const auto selected = std::ranges::find_if(
      shownMics_, [&](const MicOption& option) { return option.id == state.selectedMicID; });
  // The first is the default one, which counts while none is chosen.
  mics_->setCurrentIndex(
      selected == shownMics_.end() ? 0 : static_cast<int>(std::distance(shownMics_.begin(), selected)));
  const bool isAllowed = !state.micNeedsPermission;
  mics_->setVisible(state.micOn && isAllowed && !shownMics_.empty());
  noMic_->setVisible(state.micOn && isAllowed && shownMics_.empty());
  allowMic_->setVisible(!isAllowed);
}

}  // namespace quillant
