#include "QuillantShare/ShareQueue.h"

namespace quillant::ShareQueue {

std::optional<PendingUpload> entryOf(const PendingUploadStore& queue, const std::string& projectId,
                                     const std::optional<std::string>& slug) {
  auto own = queue.load(projectId);
  if (!slug || (own && own->slug == slug)) return own;
  for (auto& entry : queue.all())
    if (entry.slug == slug) return entry;
  return std::nullopt;
}

}  // namespace quillant::ShareQueue
