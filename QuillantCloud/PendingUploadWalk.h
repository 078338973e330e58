#pragma once

#include <functional>
#include <string>

#include "Core/Task.h"
#include "QuillantCloud/PendingUploadStore.h"

namespace quillant {

/// One walk over the entries of a folder, oldest first, each as it lies on disk once its claim was taken.
/// Files that dead processes left there are removed on the way.
struct PendingUploadWalk {
  enum class Obstacle {
    underWay,  ///< Another run has it, of this process or another one.
    unusable,  ///< Its claim could not be taken for any other reason.
  };

  PendingUploadStore store;
  std::function<void(const std::string&)> log;
  /// Called for an entry whose claim cannot be had, which is logged.
  std::function<void(const PendingUpload&, Obstacle)> leave = [](const PendingUpload&, Obstacle) {};

  /// `visit` says whether to go on, and has the claim meanwhile. Blocks on the disk: await it on a strand.
  /// Throws `FileError` if the folder is not the user's own, and what `visit` throws.
  Task<> run(std::function<Task<bool>(PendingUpload&)> visit) const;

 private:
  std::optional<UploadClaim> claimed(const PendingUpload& entry) const;
};

}  // namespace quillant
