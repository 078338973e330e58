#include "QuillantCloud/SecretStoring.h"

#include <fmt/format.h>

#include "Core/SystemWords.h"

namespace quillant {

SecretStoreError::SecretStoreError(std::int32_t status, const std::string& message)
    : Error(fmt::format("{} error {}: {}", SystemWords::secretStore, status,
                        message.empty() ? "unknown" : message)),
      status_(status) {}

}  // namespace quillant
