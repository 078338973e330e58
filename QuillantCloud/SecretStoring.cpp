#include "QuillantCloud/SecretStoring.h"

#include <fmt/format.h>

namespace quillant {

SecretStoreError::SecretStoreError(std::int32_t status, const std::string& message)
    : Error(fmt::format("keychain error {}: {}", status, message.empty() ? "unknown" : message)),
      status_(status) {}

}  // namespace quillant
