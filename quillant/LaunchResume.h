#pragma once

#include <functional>
#include <optional>
#include <string>

#include "Core/Task.h"
#include "Editor/Project/ProjectLibrary.h"
#include "QuillantShare/UploadReconciler.h"
#include "quillant/CloudServices.h"

/// Goes on with the uploads that earlier runs of the program have left: what the desktop does at its launch,
/// and `quillant resume` when it is asked to.
namespace quillant::LaunchResume {

struct Environment {
  ProjectLibrary library;
  CloudServices services;
  // As `UploadReconciler` has them; called in the background.
  std::function<void(const std::string&)> log;
  std::function<void(const UploadProgress&)> progress = [](const UploadProgress&) {};
};

/// Nothing if nobody is signed in. To be awaited on a strand in the background. Throws as `TokenStore::load`.
Task<std::optional<UploadReconciler::Summary>> run(
    Environment environment, UploadReconciler::Occasion occasion = UploadReconciler::Occasion::launch);

}  // namespace quillant::LaunchResume
