#pragma once

#include <QCoreApplication>
#include <QWidget>
#include <vector>

#include "quillant/Models/PopoverActions.h"
#include "quillant/Models/PopoverViewState.h"

class QButtonGroup;
class QLabel;
class QListWidget;
class QStackedWidget;

namespace quillant {

class DisplayTileButton;

/// What is recorded: a display, a window or an area, and which one.
class SourcePicker : public QWidget {
  Q_DECLARE_TR_FUNCTIONS(SourcePicker)

 public:
  explicit SourcePicker(const PopoverActions& actions);
  void apply(const PopoverViewState& state);

 private:
  void applyDisplays(const std::vector<DisplayTile>& tiles);
  void applyWindows(const std::vector<WindowRow>& rows);

  const PopoverActions actions_;
  QButtonGroup* modes_ = nullptr;
  QStackedWidget* pages_ = nullptr;
  QWidget* displayPage_ = nullptr;
  std::vector<DisplayTileButton*> tiles_;
  std::vector<DisplayTile> shownTiles_;
  QListWidget* windows_ = nullptr;
  QLabel* noWindows_ = nullptr;
  std::vector<WindowRow> shownRows_;
};

}  // namespace quillant
