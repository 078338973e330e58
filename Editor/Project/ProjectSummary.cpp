#include "Editor/Project/ProjectSummary.h"

#include "Core/JSON.h"

namespace quillant {

void to_json(Json& json, const ProjectSummary& summary) {
  json["id"] = summary.id;
  json["title"] = summary.title;
  json["path"] = summary.path;
  json["createdAt"] = summary.createdAt;
  json["updatedAt"] = summary.updatedAt;
  json["lastOpenedAt"] = summary.lastOpenedAt;
  json["missing"] = summary.missing;
  if (summary.recordingPath) json["recordingPath"] = *summary.recordingPath;
  if (summary.screenshotPath) json["screenshotPath"] = *summary.screenshotPath;
  if (summary.sourceName) json["sourceName"] = *summary.sourceName;
  if (summary.interruptedCause) json["interruptedCause"] = *summary.interruptedCause;
}

void from_json(const Json& json, ProjectSummary& summary) {
  summary.id = JSON::required<std::string>(json, "id");
  summary.title = JSON::required<std::string>(json, "title");
  summary.path = JSON::required<std::string>(json, "path");
  summary.createdAt = JSON::required<std::string>(json, "createdAt");
  summary.updatedAt = JSON::required<std::string>(json, "updatedAt");
  summary.lastOpenedAt = JSON::required<std::string>(json, "lastOpenedAt");
  summary.missing = JSON::required<bool>(json, "missing");
  summary.recordingPath = JSON::optional<std::string>(json, "recordingPath");
  summary.screenshotPath = JSON::optional<std::string>(json, "screenshotPath");
  summary.sourceName = JSON::optional<std::string>(json, "sourceName");
  summary.interruptedCause = JSON::optional<std::string>(json, "interruptedCause");
}

}  // namespace quillant
