#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Core/Date.h"
#include "Core/Task.h"
#include "Editor/Project/ProjectLibrary.h"
#include "QuillantCloud/UploadQueueService.h"

namespace quillant {

/// Finishes what a crash, a quit or a lost network has left of shares, and writes what became of it into the
/// projects' records. It keeps nothing between runs: the files are the state.
struct UploadReconciler {
  using Occasion = UploadQueueService::Occasion;

  struct Summary {
    int completed = 0;
    int failed = 0;
    int blocked = 0;  ///< They wait for a sign-in.
    /// Which uploads they were; none if the queue could not be read, which was logged.
    std::optional<UploadQueueService::RunResult> run{};
  };

  ProjectLibrary projects;
  PendingUploadStore queue;
  std::shared_ptr<QuillantUploadAPI> api;
  std::shared_ptr<UploadTransport> transport;
  std::function<void(const std::string&)> log;
  /// As `Uploader` has it.
  std::function<void(const UploadProgress&)> progress = [](const UploadProgress&) {};
  UploadClock clock{};

  /// Runs the queue, and notes of uploads that were live already what nobody had noted. Throws nothing. Await
  /// it on a strand in the background; the reconciler outlives it.
  Task<Summary> reconcile(Date now, Occasion occasion = Occasion::launch) const;

 private:
  /// Does nothing if the entry's link is no project's. Under the entry's claim, so that no newer truth is
  /// overwritten. What cannot be written is logged.
  Task<> note(PendingUpload entry, UploadOutcome outcome) const;
  /// As they are now: another program may have shared one since the run began.
  Task<std::optional<std::string>> projectOf(std::string slug) const;
};

}  // namespace quillant
