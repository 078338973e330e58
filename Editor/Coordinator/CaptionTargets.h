#pragma once

#include <string>
#include <vector>

#include "Core/Task.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"

namespace quillant {

/// What knows which sounds of an edit are to have captions.
class CaptionTargets {
 public:
  virtual ~CaptionTargets() = default;
  /// The sounds that have no transcript yet, as the user knows them.
  virtual Task<std::vector<std::string>> missing(TimelineEditSnapshot edits) = 0;
};

}  // namespace quillant
