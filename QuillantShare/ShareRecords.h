#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "Editor/Project/EditFingerprint.h"
#include "Editor/Project/ProjectShareRecord.h"

namespace quillant {

/// What the service is told about a project's video.
struct ShareMetadata {
  std::optional<std::string> title;
  std::int64_t durationMs = 0;
  std::int64_t width = 0;   ///< Pixels.
  std::int64_t height = 0;  ///< Pixels.
};

/// What the account has stored, and may.
struct UsageSnapshot {
  std::int64_t videos = 0;
  std::int64_t maxVideos = 0;
};

/// How many links are left.
struct ShareUsage {
  std::int64_t remaining = 0;
  std::int64_t maxVideos = 0;

  static ShareUsage of(const UsageSnapshot& usage) {
    return {.remaining = std::max<std::int64_t>(0, usage.maxVideos - usage.videos),
            .maxVideos = usage.maxVideos};
  }
  friend bool operator==(const ShareUsage&, const ShareUsage&) = default;
};

struct ShareCaptions {
  std::filesystem::path file;  ///< WebVTT.
  std::string language;
};

/// What a project's record says of an upload that did not get through.
inline constexpr const char* unfinishedUpload =
    "Your link was copied but the upload didn't finish. Retry to send it — the link stays the same.";

/// Whether the link is live, and known to show another edit than that of `fingerprint`.
inline bool isOutdated(const ProjectShareRecord& record, const std::string& fingerprint) {
  const auto& sent = record.lastUploadedEditFingerprint;
  return record.status == ProjectShareStatus::ready && sent && !isSameEdit(sent, fingerprint);
}

/// A finished video, and what belongs to it.
struct RenderedShare {
  std::filesystem::path file;
  std::optional<std::filesystem::path> poster;
  std::optional<ShareCaptions> captions;
  std::string fingerprint;  ///< Of the edit that all of it was made of.
};

}  // namespace quillant
