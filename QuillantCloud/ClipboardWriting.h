#pragma once

#include <string>

#include "Core/Task.h"

namespace quillant {

/// The desktop's clipboard, for texts.
class ClipboardWriting {
 public:
  virtual ~ClipboardWriting() = default;

  /// Puts `text` on the clipboard, where it stays when this process has ended. False if there is no desktop
  /// or it took too long. Any executor.
  virtual Task<bool> write(std::string text) = 0;
};

}  // namespace quillant
