#include "Editor/Project/ProjectShareRecord.h"

#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& record, const auto& field) {
  field("slug", record.slug);
  field("shareURL", record.shareURL);
  field("status", record.status);
  field("lastUploadedEditFingerprint", record.lastUploadedEditFingerprint);
  field("lastUploadError", record.lastUploadError);
  field("videoId", record.videoId);
  field("uploadedSizeBytes", record.uploadedSizeBytes);
};

}  // namespace

void to_json(Json& json, const ProjectShareRecord& record) {
  JSON::writeFields(json, record, fields);
}

void from_json(const Json& json, ProjectShareRecord& record) {
  JSON::readFields(json, record, fields);
}

}  // namespace quillant
