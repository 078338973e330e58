#include "quillant/Commands/SharedProject.h"

#include <chrono>
#include <filesystem>
#include <utility>

#include "Core/DiskExecutor.h"
#include "Core/JSON.h"
#include "Core/SHA256.h"
#include "Editor/Project/ProjectBundle.h"
#include "QuillantCloud/PendingUploadStore.h"
#include "QuillantCloud/QuillantConfig.h"
#include "QuillantCloud/UploadError.h"
#include "quillant/Commands/Command.h"
#include "quillant/Commands/ImportedVideo.h"
#include "quillant/Commands/OpenedEdit.h"

namespace quillant::SharedProject {

namespace {

namespace fs = std::filesystem;

/// Of two programs that share the same bundle for the first time one makes the project.
Task<UploadClaim> makersClaim(std::string name) {
  const PendingUploadStore queue{QuillantConfig::pendingUploadsDirectory()};
  constexpr int mostTries = 200;
  constexpr auto pause = std::chrono::milliseconds(50);
  for (int tries = 0; tries < mostTries; ++tries) {
    if (auto claim = queue.claim(name)) co_return std::move(*claim);
    co_await sleepFor(pause);
  }
  throw UploadError(UploadError::UnderWay{queue.claimant(name).value_or(0)});
}

/// A bundle is known by what is in it: another one in its place is another project.
std::string identityOf(const fs::path& bundle) {
  const auto contents = ProjectBundle::read(bundle);
  Json identity = {{"manifest", contents.manifest}, {"size", fs::file_size(contents.media.screenVideoPath)}};
  if (contents.editorState) identity["edit"] = *contents.editorState;
  return SHA256::hexadecimal(SHA256::of(JSON::compact(identity)));
}

// Blocking.

Task<std::string> ofBundle(ProjectLibrary library, fs::path bundle) {
  const auto identity = identityOf(bundle);
  const auto claim = co_await makersClaim("bundle-" + identity);
  const auto media = QuillantConfig::supportDirectory() / ("bundles-" + QuillantConfig::scope()) / identity;
  for (const auto& project : co_await library.projects())
    if (fs::path(project.recordingPath.value_or("")).parent_path() == media) co_return project.id;
  co_return (co_await library.importProject(bundle, media)).id;
}

Task<std::string> ofVideo(ProjectLibrary library, fs::path video, std::optional<std::string> title) {
  co_return (co_await ImportedVideo::import(library, video, title)).id;
}

}  // namespace

Task<StoredProject> find(ProjectLibrary library, std::string subject, std::optional<std::string> title) {
  const auto path = pathArgument(subject);
  std::error_code missing;
  if (fs::is_directory(path, missing))
    subject = co_await runOn(diskExecutor(), ofBundle(library, path));
  else if (fs::exists(path, missing))
    subject = co_await runOn(diskExecutor(), ofVideo(library, path, std::move(title)));
  co_return co_await OpenedEdit::project(std::move(library), std::move(subject));
}

}  // namespace quillant::SharedProject
