#include "QuillantShare/CapReason.h"

#include <fmt/format.h>

#include "Core/SystemWords.h"
#include "QuillantCloud/APIError.h"
#include "QuillantCloud/UploadError.h"

namespace quillant {

namespace {

constexpr int storageExceeded = 507;
constexpr std::string_view storageCode = "storage_exceeded";

std::string onlyTheCopy() {
  return fmt::format("The full recording is saved on your {}; only the shareable copy is capped.",
                     SystemWords::computer);
}

struct Message {
  std::string operator()(const CapReasons::Videos& videos) const {
    return fmt::format("You're at your free plan's {}-video cloud limit. {}", videos.limit, onlyTheCopy());
  }
  std::string operator()(const CapReasons::Duration& duration) const {
    constexpr std::int64_t minute = 60'000;
    return fmt::format("This one is longer than the {} min free links allow. {}", duration.limitMs / minute,
                       onlyTheCopy());
  }
  std::string operator()(const CapReasons::Server& server) const { return server.message; }
  std::string operator()(const CapReasons::Storage&) const {
    return "You're out of free cloud storage. " + onlyTheCopy();
  }
};

bool isStorageRefusal(const APIError& error) {
  const auto* http = std::get_if<APIError::Http>(&error.reason());
  return (http != nullptr && http->status == storageExceeded) || error.isRefusal(403, storageCode);
}

/// Storage answers in a form of its own; the code stands somewhere in it.
bool isStorageRefusal(const UploadError& error) {
  const auto* put = std::get_if<UploadError::Put>(&error.reason());
  if (put == nullptr) return false;
  return put->status == storageExceeded ||
         (put->status == 403 && put->body.value_or("").find(storageCode) != std::string::npos);
}

}  // namespace

std::string panelMessage(const CapReason& reason) {
  return std::visit(Message(), reason);
}

std::optional<CapReason> capReasonOf(const std::exception& error) {
  if (const auto* api = dynamic_cast<const APIError*>(&error)) {
    if (api->isRefusal(403, "quota_exceeded")) return CapReasons::Server{error.what()};
    if (isStorageRefusal(*api)) return CapReasons::Storage{};
  }
  if (const auto* upload = dynamic_cast<const UploadError*>(&error); upload && isStorageRefusal(*upload))
    return CapReasons::Storage{};
  return std::nullopt;
}

}  // namespace quillant
