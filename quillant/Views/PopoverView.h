#pragma once

#include <QCoreApplication>
#include <QWidget>

#include "quillant/Models/PopoverActions.h"
#include "quillant/Models/PopoverViewState.h"

class QComboBox;
class QFrame;
class QLabel;
class QPushButton;

namespace quillant {

class CameraView;
class DeviceRow;
class LevelMeter;
class PermissionsView;
class SourcePicker;

/// The panel. Shows a state, and says what is pressed.
class PopoverView : public QWidget {
  Q_DECLARE_TR_FUNCTIONS(PopoverView)

 public:
  explicit PopoverView(PopoverActions actions);
  void apply(const PopoverViewState& state);

 private:
  QWidget* makeBanner();
  QWidget* makeSound();
  QWidget* makeCamera();
  QWidget* makeFooter();
  void applyBanner(const PopoverViewState::Banner& banner);
  void applyMics(const PopoverViewState& state);

  const PopoverActions actions_;
  QFrame* banner_ = nullptr;
  QLabel* bannerHeading_ = nullptr;
  QLabel* bannerText_ = nullptr;
  QPushButton* storage_ = nullptr;
  PermissionsView* permissions_ = nullptr;
  SourcePicker* sources_ = nullptr;
  DeviceRow* mic_ = nullptr;
  LevelMeter* level_ = nullptr;
  QComboBox* mics_ = nullptr;
  QPushButton* allowMic_ = nullptr;
  QLabel* noMic_ = nullptr;
  DeviceRow* systemAudio_ = nullptr;
  DeviceRow* camera_ = nullptr;
  QLabel* cameraName_ = nullptr;
  CameraView* preview_ = nullptr;
  QPushButton* record_ = nullptr;
  QLabel* shortcut_ = nullptr;
  std::vector<MicOption> shownMics_;
};

}  // namespace quillant
