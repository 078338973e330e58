#pragma once

#include <optional>
#include <string>

#include "QuillantCloud/PendingUploadStore.h"

/// Which upload of the queue is a project's.
namespace quillant::ShareQueue {

/// The one under the project's id, if it is to the link of the project's record; else that of another version
/// or of another project that had the link before. Blocking; throws `FileError`.
std::optional<PendingUpload> entryOf(const PendingUploadStore& queue, const std::string& projectId,
                                     const std::optional<std::string>& slug);

}  // namespace quillant::ShareQueue
