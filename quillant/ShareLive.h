#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Core/Task.h"
#include "Editor/Coordinator/EditorCoordinator.h"
#include "Editor/Project/ProjectLibrary.h"
#include "QuillantShare/ShareController.h"
#include "quillant/CloudServices.h"

/// A share with the real editor, library and service.
namespace quillant::ShareLive {

struct Environment {
  Executor mainThread;
  ProjectLibrary library;
  CloudServices services;
  std::function<void(const std::string&)> log;  ///< The uploader's lines; called in the background.
  /// As `ShareController::Parts` has it.
  std::function<Task<>()> prepare = []() -> Task<> { co_return; };
};

/// Of a project that `coordinator` has open and that outlives the controller. Throws `ProjectError` if the
/// project cannot be read.
Task<std::shared_ptr<ShareController>> makeController(
    Environment environment, std::string projectId, const EditorCoordinator& coordinator, std::string title,
    EditorExportQuality quality = EditorExportQuality::p1080);

/// Whether the account's limits leave room. What cannot be asked does not stop a share.
Task<CapDecision> capDecision(CloudServices services, std::int64_t durationMs);
/// Nothing if it cannot be told.
Task<std::optional<UsageSnapshot>> usageSnapshot(CloudServices services);

}  // namespace quillant::ShareLive
