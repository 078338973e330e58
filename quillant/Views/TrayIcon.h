#pragma once

#include <QIcon>
#include <QPalette>

/// The pictures of the tray's item.
namespace quillant::TrayIcon {

/// The desktop's theme has it as "quillant-symbolic" where the program is installed; elsewhere it is drawn.
QIcon idle(const QPalette& palette);
/// While a recording goes on.
QIcon recording();

}  // namespace quillant::TrayIcon
