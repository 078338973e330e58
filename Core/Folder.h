#pragma once

#include <filesystem>
#include <system_error>

/// What writing a file asks of the folder that holds it.
namespace quillant::Folder {

/// Where a file lies: the working folder, if the path does not say.
std::filesystem::path of(const std::filesystem::path& file);
/// Waits until the disk has the names in a folder. Tells why that failed, or nothing. Blocking.
std::error_code sync(const std::filesystem::path& folder) noexcept;

}  // namespace quillant::Folder
