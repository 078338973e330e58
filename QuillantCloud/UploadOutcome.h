#pragma once

namespace quillant {

/// What the run of an upload has come to, for those who keep its link's record.
enum class UploadOutcome { live, needsSignIn, failed };

}  // namespace quillant
