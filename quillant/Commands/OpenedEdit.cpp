#include "quillant/Commands/OpenedEdit.h"

#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "Core/DiskExecutor.h"
#include "Editor/Composition/WallpaperFolder.h"
#include "Editor/Coordinator/EditorCoordinator.h"
#include "Editor/Project/ProjectBundle.h"
#include "Editor/Project/ProjectError.h"
#include "QuillantCloud/QuillantConfig.h"
#include "quillant/Commands/Command.h"

namespace quillant::OpenedEdit {

namespace {

struct Source {
  RecordingHandoffFields media;
  std::optional<ProjectEditorState> edit;
};

class NothingToOpen : public Error {
 public:
  explicit NothingToOpen(const std::string& subject)
      : Error("there is no file and no project “" + subject + "”; quillant projects lists the projects") {}
};

Source sourceOf(const ProjectDocument& document) {
  Source source{.edit = document.editorState};
  if (const auto& session = document.recordingSession)
    source.media = {.screenVideoPath = session->screenVideoPath,
                    .cursorTelemetryPath = session->cursorTelemetryPath,
                    .facecamVideoPath = session->facecamVideoPath,
                    .facecamOffsetMs = session->facecamOffsetMs};
  else
    source.media.screenVideoPath = document.recordingPath.value_or("");
  return source;
}

Task<Source> readBundle(std::filesystem::path path) {
  auto bundle = ProjectBundle::read(path);
  co_return Source{.media = std::move(bundle.media), .edit = std::move(bundle.editorState)};
}

Task<Source> find(std::string subject) {
  const auto path = pathArgument(subject);
  std::error_code missing;
  if (std::filesystem::is_directory(path, missing))
    co_return co_await runOn(diskExecutor(), readBundle(path));
  if (std::filesystem::exists(path, missing)) co_return Source{.media = {.screenVideoPath = path.string()}};
  const auto stored = co_await project(ProjectLibrary(QuillantConfig::projectsDirectory()), subject);
  co_return sourceOf(stored.document);
}

Task<> open(EditorCoordinator& coordinator, Source source) {
  co_await coordinator.load(std::move(source.media));
  if (source.edit)
    coordinator.applyEditorState(*source.edit);
  else if (coordinator.recording()->cursorTelemetry)
    coordinator.generateAutoZooms(rawText(TimelineZoomAnimationPreset::balanced));
}

}  // namespace

std::shared_ptr<EditorCoordinator> makeCoordinator(const Executor& mainThread) {
  return std::make_shared<EditorCoordinator>(
      mainThread,
      EditorCoordinator::Services{.wallpapers = std::make_shared<WallpaperImageCache>(wallpaperFolder())});
}

Task<> open(EditorCoordinator& coordinator, std::string subject) {
  auto source = co_await find(std::move(subject));
  co_await open(coordinator, std::move(source));
}

Task<> open(EditorCoordinator& coordinator, ProjectDocument project) {
  auto source = sourceOf(project);
  co_await open(coordinator, std::move(source));
}

Task<StoredProject> project(ProjectLibrary library, std::string id) {
  try {
    co_return co_await library.project(id);
  } catch (const ProjectError& error) {
    if (error.kind() == ProjectError::Kind::missing) throw NothingToOpen(id);
    throw;
  }
}

}  // namespace quillant::OpenedEdit
