#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Editor/Coordinator/EditorCoordinator.h"
#include "Editor/Timeline/TimelineCaptions.h"

namespace quillant {

/// The words after `share`, understood.
struct ShareWords {
  /// What a project's captions are to be from now on.
  struct Captions {
    std::optional<TimelineCaptionStyle> style;  ///< None turns them off.
  };

  std::string subject;  ///< A project's id, a bundle, or a video; empty for `--status`.
  bool isStatus = false;
  std::optional<std::string> title;
  EditorExportQuality quality = EditorExportQuality::p1080;
  std::optional<Captions> captions;  ///< None: as the project has them.

  /// Throws `UsageError`.
  static ShareWords parse(const std::vector<std::string>& words);
};

}  // namespace quillant
