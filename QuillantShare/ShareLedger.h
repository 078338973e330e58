#pragma once

#include <map>
#include <string>

#include "Core/Task.h"
#include "Editor/Project/ProjectLibrary.h"
#include "QuillantCloud/PendingUpload.h"
#include "QuillantCloud/UploadOutcome.h"

namespace quillant {

/// Writes into the projects' records what has become of the uploads behind their links, for runs of the queue
/// that no `ShareController` started. A value; any executor.
class ShareLedger {
 public:
  /// Of the projects as they are now. Ones that cannot be read are logged, and not in it.
  static Task<ShareLedger> read(ProjectLibrary projects);

  /// Does nothing if the entry's link is no project's. To be awaited under the entry's claim, so that no
  /// newer truth is overwritten. What cannot be written is logged.
  Task<> note(PendingUpload entry, UploadOutcome outcome) const;

 private:
  explicit ShareLedger(ProjectLibrary projects) : projects_(std::move(projects)) {}

  ProjectLibrary projects_;
  std::map<std::string, std::string> projectsBySlug_;
};

}  // namespace quillant
