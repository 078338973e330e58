#pragma once

#include <string>

namespace quillant {

/// Words of a command line that cannot be understood. `text` tells the user which.
struct UsageError {
  std::string text;
};

}  // namespace quillant
