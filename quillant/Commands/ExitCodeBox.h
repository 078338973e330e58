#pragma once

#include "quillant/Commands/Command.h"

namespace quillant {

/// How a background task hands the exit code back: a run that ends without reporting counts as failed.
struct ExitCodeBox {
  int code = ExitCode::failure;
};

}  // namespace quillant
