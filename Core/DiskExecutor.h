#pragma once

#include "Core/Task.h"

namespace quillant {

/// The threads for work that blocks on a disk. No recording waits for them. They last as long as the process.
Executor diskExecutor();

}  // namespace quillant
