#include "Editor/Project/ProjectSummary.h"

#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& summary, const auto& field) {
  field("id", summary.id);
  field("title", summary.title);
  field("path", summary.path);
  field("recordingPath", summary.recordingPath);
  field("screenshotPath", summary.screenshotPath);
  field("sourceName", summary.sourceName);
  field("createdAt", summary.createdAt);
  field("updatedAt", summary.updatedAt);
  field("lastOpenedAt", summary.lastOpenedAt);
  field("missing", summary.missing);
  field("interruptedCause", summary.interruptedCause);
};

}  // namespace

void to_json(Json& json, const ProjectSummary& summary) {
  JSON::writeFields(json, summary, fields);
}

void from_json(const Json& json, ProjectSummary& summary) {
  JSON::readFields(json, summary, fields);
}

}  // namespace quillant
