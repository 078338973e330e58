#include "Editor/Project/ProjectShareRecord.h"

#include "Core/JSON.h"

namespace quillant {

void to_json(Json& json, const ProjectShareRecord& record) {
  json["status"] = rawText(record.status);
  if (record.slug) json["slug"] = *record.slug;
  if (record.shareURL) json["shareURL"] = *record.shareURL;
  if (record.lastUploadedEditFingerprint)
    json["lastUploadedEditFingerprint"] = *record.lastUploadedEditFingerprint;
  if (record.lastUploadError) json["lastUploadError"] = *record.lastUploadError;
  if (record.videoId) json["videoId"] = *record.videoId;
  if (record.uploadedSizeBytes) json["uploadedSizeBytes"] = *record.uploadedSizeBytes;
}

void from_json(const Json& json, ProjectShareRecord& record) {
  record.status = JSON::required<ProjectShareStatus>(json, "status");
  record.slug = JSON::optional<std::string>(json, "slug");
  record.shareURL = JSON::optional<std::string>(json, "shareURL");
  record.lastUploadedEditFingerprint = JSON::optional<std::string>(json, "lastUploadedEditFingerprint");
  record.lastUploadError = JSON::optional<std::string>(json, "lastUploadError");
  record.videoId = JSON::optional<std::string>(json, "videoId");
  record.uploadedSizeBytes = JSON::optional<std::int64_t>(json, "uploadedSizeBytes");
}

}  // namespace quillant
