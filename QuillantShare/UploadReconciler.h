#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Core/Date.h"
#include "Core/Task.h"
#include "Editor/Project/ProjectLibrary.h"
#include "QuillantCloud/PendingUploadStore.h"
#include "QuillantCloud/QuillantUploadAPI.h"
#include "QuillantCloud/UploadClock.h"
#include "QuillantCloud/UploadOutcome.h"
#include "QuillantCloud/UploadTransport.h"

namespace quillant {

/// Finishes what a crash, a quit or a lost network has left of shares, and writes what became of it into the
/// projects' records. It keeps nothing between runs: the files are the state.
struct UploadReconciler {
  struct Summary {
    int completed = 0;
    int failed = 0;
    int blocked = 0;  ///< They wait for a sign-in.
    friend bool operator==(const Summary&, const Summary&) = default;
  };

  ProjectLibrary projects;
  PendingUploadStore queue;
  std::shared_ptr<QuillantUploadAPI> api;
  std::shared_ptr<UploadTransport> transport;
  std::function<void(const std::string&)> log;
  UploadClock clock{};

  /// Gives every unfinished upload one attempt, whatever its back-off, one after another, oldest first. What
  /// another program has is left to it. Throws nothing. Await it on a strand in the background; the
  /// reconciler outlives it.
  Task<Summary> reconcile(Date now) const;

 private:
  UploadOutcome recordFailure(PendingUpload& entry, const Error& error, Date now) const;
};

}  // namespace quillant
