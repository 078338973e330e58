#pragma once

#include <filesystem>
#include <functional>

/// Pictures of the panel in each of its states, without a desktop.
namespace quillant::PopoverPictures {

/// Writes them as `<state>-<light|dark>.png`, and at twice the size as `<state>-<light|dark>@2x.png`, and
/// tells of each. Once a process, on its main thread. Throws `FileError`.
void write(const std::filesystem::path& folder,
           const std::function<void(const std::filesystem::path&)>& onWritten);

}  // namespace quillant::PopoverPictures
