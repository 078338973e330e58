#include "Linux/Desktop/CallbackScheme.h"

#include <fmt/format.h>
#include <string_view>
#include <system_error>
#include <utility>

#include "Core/AtomicFile.h"
#include "Linux/Desktop/DesktopSession.h"
#include "Linux/Desktop/HelperProgram.h"

namespace quillant::CallbackScheme {

namespace {

/// A word of an Exec line. Quoted only where it must be, since not every reader of such files knows quotes;
/// and then twice, once as that line has it and once more as every value of the file.
std::string execWord(const std::string& word) {
  constexpr std::string_view reserved = " \t\n\"'\\><~|&;$*?#()`";
  std::string result;
  for (const char character : word) {
    if (character == '\\')
      result += R"(\\\\)";
    else if (std::string_view("\"`$").find(character) != std::string_view::npos)
      result += std::string(R"(\\)") + character;
    else if (character == '%')
      result += "%%";
    else
      result += character;
  }
  return word.find_first_of(reserved) == std::string::npos ? result : '"' + result + '"';
}

bool holds(const std::filesystem::path& file, const std::string& contents) {
  try {
    return AtomicFile::read(file) == contents;
  } catch (const FileError&) {
    return false;
  }
}

}  // namespace

std::string desktopFile(const std::string& scheme, const std::filesystem::path& program) {
  return fmt::format(
      "[Desktop Entry]\nType=Application\nName=Quillant sign-in\nNoDisplay=true\nTerminal=false\n"
      "Exec={} %u\nMimeType=x-scheme-handler/{};\n",
      execWord(program.string()), scheme);
}

Task<> install(std::string scheme, std::filesystem::path program) {
  const auto folder = DesktopSession::applicationsFolder();
  const std::string name = "quillant-sign-in.desktop";
  const auto contents = desktopFile(scheme, program);
  if (!holds(folder / name, contents)) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    AtomicFile::write(folder / name, contents);
  }
  // Some desktops ask their settings, some the folder's cache.
  HelperProgram::Launch settings;
  settings.command = {"xdg-mime", "default", name, "x-scheme-handler/" + scheme};
  co_await HelperProgram::run(std::move(settings));
  HelperProgram::Launch cache;
  cache.command = {"update-desktop-database", "-q", folder.string()};
  co_await HelperProgram::run(std::move(cache));
}

}  // namespace quillant::CallbackScheme
