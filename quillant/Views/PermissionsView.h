#pragma once

#include <QCoreApplication>
#include <QWidget>
#include <vector>

#include "quillant/Models/PopoverActions.h"
#include "quillant/Models/PopoverViewState.h"

class QVBoxLayout;

namespace quillant {

/// What the user has to allow before anything can be recorded.
class PermissionsView : public QWidget {
  Q_DECLARE_TR_FUNCTIONS(PermissionsView)

 public:
  explicit PermissionsView(const PopoverActions& actions);
  void apply(const PopoverViewState& state);

 private:
  QWidget* makeRow(const PermissionRow& row) const;
  QWidget* makeRestartCard() const;

  const PopoverActions actions_;
  QVBoxLayout* rows_ = nullptr;
  std::vector<PermissionRow> shown_;
  bool showsRestartCard_ = false;
};

}  // namespace quillant
