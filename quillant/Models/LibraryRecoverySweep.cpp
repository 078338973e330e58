#include "quillant/Models/LibraryRecoverySweep.h"

#include "CaptureEngine/RecoveryService.h"
#include "Core/Log.h"

namespace quillant::LibraryRecoverySweep {

namespace {

std::optional<std::string> text(const std::optional<std::filesystem::path>& path) {
  return path ? std::optional(std::filesystem::absolute(*path).string()) : std::nullopt;
}

void registerProject(const ProjectStore& store, const RecoverableRecording& recording) {
  const auto date = recording.startedAt.value_or(Date::now()).iso8601();
  store.create({.screenVideoPath = std::filesystem::absolute(recording.screenVideo).string(),
                .cursorTelemetryPath = text(recording.cursorTelemetry),
                .facecamVideoPath = text(recording.facecam)},
               {.id = UUID::random().text(),
                .title = "Recording",
                .createdAt = date,
                .updatedAt = date,
                .interruptedCause = "recording stopped unexpectedly"});
}

}  // namespace

Task<> run(ProjectStore store, std::filesystem::path directory, std::function<void()> onChanged) {
  const RecoveryService service{directory};
  bool changed = false;
  for (const auto& recording : co_await service.sweep()) {
    if (std::holds_alternative<RecoverableRecording::Playable>(recording.status)) {
      try {
        registerProject(store, recording);
        changed = true;
      } catch (const std::exception&) {
        Log::write("orphan recovery registration failed: {}", describe(std::current_exception()));
      }
    }
    service.keep(recording);
  }
  if (changed && onChanged) onChanged();
}

}  // namespace quillant::LibraryRecoverySweep
