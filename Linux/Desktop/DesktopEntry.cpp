#include "Linux/Desktop/DesktopEntry.h"

#include <string_view>
#include <system_error>

#include "Core/AtomicFile.h"

namespace quillant::DesktopEntry {

namespace {

bool holds(const std::filesystem::path& file, const std::string& contents) {
  try {
    return AtomicFile::read(file) == contents;
  } catch (const FileError&) {
    return false;
  }
}

}  // namespace

std::string execWord(const std::string& word) {
  constexpr std::string_view reserved = " \t\n\"'\\><~|&;$*?#()`";
  // Escaped twice: once as that line has it, and once more as every value of the file.
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

void install(const std::filesystem::path& file, const std::string& contents) {
  if (holds(file, contents)) return;
  std::error_code error;
  std::filesystem::create_directories(file.parent_path(), error);
  AtomicFile::write(file, contents);
}

}  // namespace quillant::DesktopEntry
