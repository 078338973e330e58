#include "QuillantCloud/PendingUploadWalk.h"

#include <fmt/format.h>

#include "Core/AtomicFile.h"

namespace quillant {

std::optional<UploadClaim> PendingUploadWalk::claimed(const PendingUpload& entry) const {
  try {
    auto claim = store.claim(entry.id);
    if (claim) return claim;
    const auto process = store.claimant(entry.id).value_or(0);
    log(process > 0 ? fmt::format("upload {} is under way in process {}", entry.shortId(), process)
                    : fmt::format("upload {} is under way in another process", entry.shortId()));
    leave(entry, Obstacle::underWay);
  } catch (const FileError& error) {
    log(fmt::format("upload {} is left alone: {}", entry.shortId(), error.description()));
    leave(entry, Obstacle::unusable);
  }
  return std::nullopt;
}

Task<> PendingUploadWalk::run(std::function<Task<bool>(PendingUpload&)> visit) const {
  store.removeLitter();
  for (const auto& listed : store.all()) {
    const auto claim = claimed(listed);
    if (!claim) continue;
    // Whoever had the claim before may have finished it, or have come further.
    auto entry = store.load(listed.id);
    if (entry && !co_await visit(*entry)) co_return;
  }
}

}  // namespace quillant
