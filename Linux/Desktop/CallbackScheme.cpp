#include "Linux/Desktop/CallbackScheme.h"

#include <fmt/format.h>
#include <utility>

#include "Linux/Desktop/DesktopEntry.h"
#include "Linux/Desktop/DesktopSession.h"
#include "Linux/Desktop/HelperProgram.h"

namespace quillant::CallbackScheme {

std::string desktopFile(const std::string& scheme, const std::filesystem::path& program) {
  return fmt::format(
      "[Desktop Entry]\nType=Application\nName=Quillant sign-in\nNoDisplay=true\nTerminal=false\n"
      "Exec={} %u\nMimeType=x-scheme-handler/{};\n",
      DesktopEntry::execWord(program.string()), scheme);
}

Task<> install(std::string scheme, std::filesystem::path program) {
  const auto folder = DesktopSession::applicationsFolder();
  const std::string name = "quillant-sign-in.desktop";
  const auto contents = desktopFile(scheme, program);
  DesktopEntry::install(folder / name, contents);
  // Some desktops ask their settings, some the folder's cache.
  HelperProgram::Launch settings;
  settings.command = {"xdg-mime", "default", name, "x-scheme-handler/" + scheme};
  co_await HelperProgram::run(std::move(settings));
  HelperProgram::Launch cache;
  cache.command = {"update-desktop-database", "-q", folder.string()};
  co_await HelperProgram::run(std::move(cache));
}

}  // namespace quillant::CallbackScheme
