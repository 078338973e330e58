#pragma once

namespace quillant {

/// Why a recording most likely ended before it was stopped.
enum class FailureCause { diskSpace, unknown };

}  // namespace quillant
