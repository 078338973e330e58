#pragma once

#include <optional>
#include <string>

#include "Core/Task.h"
#include "Editor/Project/ProjectLibrary.h"

namespace quillant {

/// The project of a video that somebody has named.
struct ImportedVideo {
  std::string id;
  std::string title;
  bool isNew = true;  ///< Otherwise the recording had a project already, which it keeps.

  /// `title` is for a new one; without it that is the file's name. Blocking. Throws an `Error` in words for
  /// the user.
  static Task<ImportedVideo> import(ProjectLibrary library, std::string file,
                                    std::optional<std::string> title);
};

}  // namespace quillant
