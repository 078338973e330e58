#pragma once

#include <optional>
#include <string>

#include "Core/JSONForward.h"

namespace quillant {

/// One entry of the store's index.
struct ProjectSummary {
  std::string id;
  std::string title;
  std::string path;  ///< Absolute, of the document.
  std::optional<std::string> recordingPath;
  std::optional<std::string> screenshotPath;
  std::optional<std::string> sourceName;
  std::string createdAt;
  std::string updatedAt;
  std::string lastOpenedAt;
  bool missing = false;
  std::optional<std::string> interruptedCause;

  friend bool operator==(const ProjectSummary&, const ProjectSummary&) = default;
};

void to_json(Json& json, const ProjectSummary& summary);
void from_json(const Json& json, ProjectSummary& summary);

}  // namespace quillant
