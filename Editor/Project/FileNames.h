#pragma once

#include <string>
#include <string_view>

/// Names of files that came from elsewhere.
namespace quillant::FileNames {

/// Whether the name stands for an entry of the folder it is put into, and for nothing above or below it.
bool isPlain(std::string_view name);
/// A title as a plain name: what no file system takes becomes "-"; never empty, at most 100 bytes.
std::string fromTitle(std::string_view title);

}  // namespace quillant::FileNames
