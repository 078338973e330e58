#include "quillant/Views/SourcePicker.h"

#include <QButtonGroup>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "quillant/Views/DisplayTileButton.h"

namespace quillant {

namespace {

constexpr int columns = 2;
constexpr int listHeight = 150;

QLabel* hint(const QString& text) {
  auto* label = new QLabel(text);
  label->setWordWrap(true);
  label->setAlignment(Qt::AlignCenter);
  return label;
}

}  // namespace

SourcePicker::SourcePicker(const PopoverActions& actions) : actions_(actions) {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  auto* modeRow = new QHBoxLayout;
  modeRow->setSpacing(4);
  layout->addLayout(modeRow);
  modes_ = new QButtonGroup(this);
  const std::pair<SourceMode, QString> modes[] = {{SourceMode::display, tr("Display")},
                                                  {SourceMode::window, tr("Window")},
                                                  {SourceMode::area, tr("Area")}};
  for (const auto& [mode, name] : modes) {
    auto* button = new QPushButton(name);
    button->setCheckable(true);
    modes_->addButton(button, static_cast<int>(mode));
    modeRow->addWidget(button);
    connect(button, &QPushButton::clicked, this, [this, chosen = mode] { actions_.selectMode(chosen); });
  }

  pages_ = new QStackedWidget;
  layout->addWidget(pages_);
  displayPage_ = new QWidget;
  new QGridLayout(displayPage_);
  pages_->insertWidget(static_cast<int>(SourceMode::display), displayPage_);

  auto* windowPage = new QWidget;
  auto* windowLayout = new QVBoxLayout(windowPage);
  windowLayout->setContentsMargins(0, 0, 0, 0);
  windows_ = new QListWidget;
  windows_->setFixedHeight(listHeight);
  windows_->setAccessibleName(tr("Windows"));
  windows_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  windows_->setTextElideMode(Qt::ElideRight);
  noWindows_ = hint(tr("No window can be recorded now."));
  windowLayout->addWidget(windows_);
  windowLayout->addWidget(noWindows_);
  connect(windows_, &QListWidget::currentRowChanged, this, [this](int row) {
    if (row >= 0) actions_.selectWindow(shownRows_[static_cast<std::size_t>(row)].id);
  });
  pages_->insertWidget(static_cast<int>(SourceMode::window), windowPage);
  pages_->insertWidget(static_cast<int>(SourceMode::area),
                       hint(tr("You draw the area on the screen, as the first thing.")));
}

void SourcePicker::apply(const PopoverViewState& state) {
  const int mode = static_cast<int>(state.mode);
  for (auto* button : modes_->buttons()) {
    const bool isChosen = modes_->id(button) == mode;
    button->setChecked(isChosen);
    auto palette = this->palette();
    if (isChosen) {
      palette.setColor(QPalette::Button, palette.color(QPalette::Highlight));
      palette.setColor(QPalette::ButtonText, palette.color(QPalette::HighlightedText));
    }
    button->setPalette(palette);
  }
  pages_->setCurrentIndex(mode);
  if (state.displays != shownTiles_) applyDisplays(state.displays);
  if (state.windows != shownRows_) applyWindows(state.windows);
  windows_->setVisible(!state.windows.empty());
  noWindows_->setVisible(state.windows.empty());
}

void SourcePicker::applyDisplays(const std::vector<DisplayTile>& tiles) {
  shownTiles_ = tiles;
  auto* grid = static_cast<QGridLayout*>(displayPage_->layout());
  while (tiles_.size() > tiles.size()) {
    delete tiles_.back();
    tiles_.pop_back();
  }
  while (tiles_.size() < tiles.size()) {
    const auto index = tiles_.size();
    auto* tile = new DisplayTileButton;
    connect(tile, &DisplayTileButton::clicked, this,
            [this, index] { actions_.selectDisplay(shownTiles_[index].id); });
    grid->addWidget(tile, static_cast<int>(index) / columns, static_cast<int>(index) % columns);
    tiles_.push_back(tile);
  }
  for (std::size_t index = 0; index < tiles.size(); ++index) tiles_[index]->apply(tiles[index]);
}

void SourcePicker::applyWindows(const std::vector<WindowRow>& rows) {
  shownRows_ = rows;
  const QSignalBlocker quiet(windows_);  // nobody has chosen anything
  windows_->clear();
  for (const auto& row : rows) {
    auto* item = new QListWidgetItem(QString::fromStdString(row.appName + " — " + row.title), windows_);
    item->setToolTip(QString::fromStdString(row.title));
    if (row.isSelected) windows_->setCurrentItem(item);
  }
}

}  // namespace quillant
