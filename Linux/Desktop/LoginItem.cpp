#include "Linux/Desktop/LoginItem.h"

#include <fmt/format.h>
#include <string>
#include <string_view>
#include <system_error>

#include "Core/AtomicFile.h"
#include "Linux/Desktop/DesktopEntry.h"
#include "Linux/Desktop/DesktopSession.h"

namespace quillant::LoginItem {

namespace {

std::filesystem::path file() {
  return DesktopSession::configFolder() / "autostart" / "quillant.desktop";
}

/// How desktops note that the user has switched it off.
bool isSwitchedOff(const std::string& contents) {
  const auto has = [lines = "\n" + contents + "\n"](std::string_view line) {
    return lines.find(fmt::format("\n{}\n", line)) != std::string::npos;
  };
  return has("Hidden=true") || has("X-GNOME-Autostart-enabled=false");
}

}  // namespace

bool isEnabled() {
  try {
    return !isSwitchedOff(AtomicFile::read(file()));
  } catch (const FileError&) {
    return false;
  }
}

void enable(const std::filesystem::path& program) {
  DesktopEntry::install(file(),
                        fmt::format("[Desktop Entry]\nType=Application\nName=Quillant\n"
                                    "Comment=Records the screen\nIcon=quillant\nTerminal=false\nExec={}\n"
                                    "X-GNOME-Autostart-enabled=true\n",
                                    DesktopEntry::execWord(program.string())));
}

void disable() {
  std::error_code error;
  std::filesystem::remove(file(), error);
  if (error) throw FileError("remove", file(), error);
}

}  // namespace quillant::LoginItem
