#pragma once

#include <filesystem>
#include <string>

#include "Core/Task.h"

/// Makes a program the one that the user's desktop opens a URL scheme with.
namespace quillant::CallbackScheme {

/// Describes `program` as the handler of `scheme` to the desktop, for this user only. Does nothing twice.
/// Throws `FileError`; a desktop that takes no notice is not an error that could be seen from here.
Task<> install(std::string scheme, std::filesystem::path program);

/// The desktop file's text: `program` is run with the URL as its first word.
std::string desktopFile(const std::string& scheme, const std::filesystem::path& program);

}  // namespace quillant::CallbackScheme
