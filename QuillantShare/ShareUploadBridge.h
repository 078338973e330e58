#pragma once

#include <cstdint>
#include <filesystem>

#include "QuillantCloud/PendingUpload.h"
#include "QuillantShare/ShareRecords.h"

/// From what a share knows to what the upload queue keeps.
namespace quillant::ShareUploadBridge {

/// A new entry for a finished file. Blocking.
PendingUpload pendingUpload(const std::filesystem::path& renderedFile, const ShareMetadata& metadata);
/// 0 if it cannot be told. Blocking.
std::int64_t fileSize(const std::filesystem::path& file);

}  // namespace quillant::ShareUploadBridge
