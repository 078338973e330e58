#include "quillant/Models/LibraryRecoverySweep.h"

#include "CaptureEngine/RecoveryService.h"
#include "Core/DiskExecutor.h"
#include "Core/Log.h"
#include "Core/UUID.h"
#include "Editor/Coordinator/RecordingSideFiles.h"
#include "MediaKit/Reading/AssetProbe.h"

namespace quillant::LibraryRecoverySweep {

namespace {

/// As it was named, where the working folder is gone.
std::string text(const std::filesystem::path& path) {
  std::error_code error;
  const auto absolute = std::filesystem::absolute(path, error);
  return (error ? path : absolute).string();
}

std::optional<std::string> text(const std::optional<std::filesystem::path>& path) {
  return path ? std::optional(text(*path)) : std::nullopt;
}

/// Blocking.
Task<RecordingHandoffFields> handoff(RecoverableRecording recording) {
  RecordingHandoffFields media{.screenVideoPath = text(recording.screenVideo),
                               .cursorTelemetryPath = text(recording.cursorTelemetry),
                               .facecamVideoPath = text(recording.facecam)};
  co_return RecordingSideFiles::found(std::move(media), AssetProbe::probe(recording.screenVideo));
}

/// False if a project has it already: the sweep was killed before it took the marker away, or another program
/// was faster.
Task<bool> registerProject(ProjectLibrary library, RecoverableRecording recording) {
  auto media = co_await runOn(diskExecutor(), handoff(recording));
  const auto date = recording.startedAt.value_or(Date::now()).iso8601();
  ProjectStore::CreateOptions options{.id = UUID::random().text(),
                                      .title = "Recording",
                                      .createdAt = date,
                                      .updatedAt = date,
                                      .interruptedCause = "recording stopped unexpectedly"};
  co_return (co_await library.registerRecording(std::move(media), std::move(options))).isNew;
}

}  // namespace

Task<> run(ProjectLibrary library, std::filesystem::path directory, std::function<void()> onChanged) {
  const RecoveryService service{directory};
  bool changed = false;
  for (const auto& recording : co_await service.sweep()) {
    if (std::holds_alternative<RecoverableRecording::Playable>(recording.status)) {
      try {
        if (co_await registerProject(library, recording)) changed = true;
      } catch (const std::exception&) {
        Log::write("orphan recovery registration failed: {}", describe(std::current_exception()));
      }
    }
    service.keep(recording);
  }
  if (changed && onChanged) onChanged();
}

}  // namespace quillant::LibraryRecoverySweep
