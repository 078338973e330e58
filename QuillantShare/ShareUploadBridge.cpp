#include "QuillantShare/ShareUploadBridge.h"

#include <optional>
#include <system_error>

namespace quillant::ShareUploadBridge {

PendingUpload pendingUpload(const std::filesystem::path& renderedFile, const ShareMetadata& metadata) {
  return PendingUpload::make(renderedFile, std::nullopt, metadata.title, fileSize(renderedFile),
                             metadata.durationMs, metadata.width, metadata.height);
}

std::int64_t fileSize(const std::filesystem::path& file) {
  std::error_code failed;
  const auto size = std::filesystem::file_size(file, failed);
  return failed ? 0 : static_cast<std::int64_t>(size);
}

}  // namespace quillant::ShareUploadBridge
