#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Core/Task.h"
#include "QuillantCloud/CaptionsDeclaration.h"
#include "QuillantCloud/UploadRecords.h"

namespace quillant {

/// What the uploader asks of the service. Every call throws `APIError`.
class QuillantUploadAPI {
 public:
  virtual ~QuillantUploadAPI() = default;

  /// Each call makes a new upload with a link of its own.
  virtual Task<UploadReservation> createUpload(std::optional<std::string> title, std::int64_t sizeBytes,
                                               std::int64_t durationMs, std::int64_t width,
                                               std::int64_t height) = 0;
  virtual Task<RefreshResult> refreshPresign(std::string videoId) = 0;
  /// Harmless when the upload is complete already.
  virtual Task<CompleteResult> completeUpload(std::string videoId, std::int64_t sizeBytes,
                                              CaptionsDeclaration captions = {}) = 0;
};

}  // namespace quillant
