#pragma once

#include <filesystem>
#include <string>

/// The files by which desktops know programs.
namespace quillant::DesktopEntry {

/// A word of an Exec line. Quoted only where it must be, since not every reader of such files knows quotes.
std::string execWord(const std::string& word);

/// Writes the file, unless it says so already. Blocking; throws `FileError`.
void install(const std::filesystem::path& file, const std::string& contents);

}  // namespace quillant::DesktopEntry
