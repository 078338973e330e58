#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Core/JSONForward.h"
#include "Core/RawTexts.h"

namespace quillant {

enum class ProjectShareStatus { none, pending, ready };

template <>
inline constexpr auto rawTexts<ProjectShareStatus> =
    std::to_array<RawText<ProjectShareStatus>>({{ProjectShareStatus::none, "none"},
                                                {ProjectShareStatus::pending, "pending"},
                                                {ProjectShareStatus::ready, "ready"}});

/// What is known of a project's link. The slug, once the service has given it, never changes.
struct ProjectShareRecord {
  std::optional<std::string> slug;
  std::optional<std::string> shareURL;
  ProjectShareStatus status = ProjectShareStatus::none;
  std::optional<std::string> lastUploadedEditFingerprint;
  std::optional<std::string> lastUploadError;
  std::optional<std::string> videoId;
  std::optional<std::int64_t> uploadedSizeBytes;

  friend bool operator==(const ProjectShareRecord&, const ProjectShareRecord&) = default;
};

void to_json(Json& json, const ProjectShareRecord& record);
void from_json(const Json& json, ProjectShareRecord& record);

}  // namespace quillant
