#include "Editor/Project/ProjectStore.h"

#include <algorithm>
#include <fmt/format.h>

#include "Core/AtomicFile.h"
#include "Core/Date.h"
#include "Core/JSON.h"
#include "Core/Log.h"
#include "Core/Text.h"
#include "Core/UUID.h"
#include "Editor/Project/FileNames.h"
#include "Editor/Project/FolderLock.h"
#include "Editor/Project/ProjectError.h"
#include "Editor/Project/ProjectManifest.h"

namespace quillant {

namespace {

std::string now() {
  return Date::now().iso8601();
}

/// Whether `<id>.json` is a file of the store's folder and not its index.
bool isDocumentID(std::string_view id) {
  return FileNames::isPlain(std::string(id) + ".json") && id != "index";
}

void checkSlug(const std::optional<std::string>& stored, const std::optional<std::string>& attempted) {
  if (stored && attempted && *stored != *attempted) throw ProjectStore::StoreError(*stored, *attempted);
}

/// A text that is not UTF-8 would be written with other bytes, and the path would lead nowhere.
void checkPaths(const ProjectDocument& document) {
  const auto check = [](const std::optional<std::string>& path) {
    if (path && !Text::isUTF8(*path)) throw ProjectError(ProjectError::Kind::pathNotUTF8, *path);
  };
  check(document.recordingPath);
  check(document.screenshotPath);
  if (const auto& session = document.recordingSession) {
    check(session->screenVideoPath);
    check(session->facecamVideoPath);
    check(session->cursorTelemetryPath);
  }
}

ProjectDocument newDocument(const RecordingHandoffFields& recording,
                            const ProjectStore::CreateOptions& options) {
  ProjectDocument document{.title = options.title,
                           .recordingPath = recording.screenVideoPath,
                           .sourceName = recording.sourceName,
                           .createdAt = options.createdAt,
                           .updatedAt = options.updatedAt,
                           .id = options.id,
                           .interruptedCause = options.interruptedCause};
  document.recordingSession = RecordingSession{.screenVideoPath = recording.screenVideoPath,
                                               .facecamVideoPath = recording.facecamVideoPath,
                                               .facecamOffsetMs = recording.facecamOffsetMs,
                                               .sourceName = recording.sourceName,
                                               .showCursorOverlay = recording.cursorTelemetryPath.has_value(),
                                               .cursorTelemetryPath = recording.cursorTelemetryPath};
  return document;
}

}  // namespace

ProjectStore::StoreError::StoreError(std::string existing, std::string attempted)
    : Error(fmt::format("this project's link is already '{}' and cannot become '{}'", existing, attempted)),
      existing_(std::move(existing)),
      attempted_(std::move(attempted)) {}

std::filesystem::path ProjectStore::documentPath(std::string_view id) const {
  auto path = directory / (std::string(id) + ".json");
  if (!isDocumentID(id)) throw FileError("use", path, std::make_error_code(std::errc::invalid_argument));
  return path;
}

void ProjectStore::writeIndex(std::vector<ProjectIndexEntry> entries) const {
  try {
    ProjectIndex::write(directory, std::move(entries));
  } catch (const FileError& error) {
    Log::write("the list of projects could not be updated: {}", error.description());
  }
}

void ProjectStore::updateIndex(std::string_view id, const ProjectDocument* document) const {
  auto entries = ProjectIndex::read(directory);
  std::erase_if(entries, [&](const auto& listed) { return listed.summary.id == id; });
  if (document) entries.push_back(ProjectIndex::entry(directory, *document));
  writeIndex(std::move(entries));
}

void ProjectStore::writeDocument(const ProjectDocument& document) const {
  checkPaths(document);
  AtomicFile::write(documentPath(document.id), JSON::pretty(document));
  updateIndex(document.id, &document);
}

ProjectDocument ProjectStore::create(const RecordingHandoffFields& recording,
                                     const CreateOptions& options) const {
  auto document = newDocument(recording, options);
  createDocument(document);
  return document;
}

ProjectStore::Registration ProjectStore::registerRecording(const RecordingHandoffFields& recording,
                                                           const CreateOptions& options) const {
  documentPath(options.id);
  const FolderLock lock(directory);
  for (auto& entry : ProjectIndex::ofFolder(directory, ProjectIndex::read(directory)))
    if (entry.summary.recordingPath == recording.screenVideoPath)
      return {.entry = std::move(entry), .isNew = false};
  const auto document = newDocument(recording, options);
  writeDocument(document);
  return {.entry = ProjectIndex::entry(directory, document)};
}

void ProjectStore::createDocument(const ProjectDocument& document) const {
  documentPath(document.id);  // throws before anything is made for an id that is none
  const FolderLock lock(directory);
  writeDocument(document);
}

void ProjectStore::saveDocument(const ProjectDocument& document) const {
  documentPath(document.id);
  const FolderLock lock(directory);
  if (const auto stored = share(document.id)) checkSlug(stored->slug, document.share.slug);
  writeDocument(document);
}

StoredProject ProjectStore::load(std::string_view id) const {
  using Kind = ProjectError::Kind;
  if (!isDocumentID(id)) throw ProjectError(Kind::missing);
  try {
    const auto json = JSON::parse(AtomicFile::read(documentPath(id)));
    StoredProject stored{JSON::decode<ProjectDocument>(json), ProjectRevision::of(json)};
    // A document under another's name would be written back over that other one.
    if (stored.document.id != id) throw ProjectError(Kind::unreadable, "its file holds another project");
    return stored;
  } catch (const FileError& error) {
    const bool missing =
        error.code() == std::errc::no_such_file_or_directory || error.code() == std::errc::not_a_directory;
    throw missing ? ProjectError(Kind::missing) : ProjectError(Kind::unreadable, error.description());
  } catch (const JSONError& error) {
    throw ProjectError(Kind::unreadable, error.description());
  }
}

std::optional<ProjectDocument> ProjectStore::document(std::string_view id) const {
  try {
    return load(id).document;
  } catch (const ProjectError&) {
    return std::nullopt;
  }
}

StoredProject ProjectStore::changeProject(std::string_view id,
                                          const std::function<void(StoredProject&)>& change) const {
  std::error_code error;
  const bool exists = isDocumentID(id) && (std::filesystem::exists(documentPath(id), error) || error);
  if (!exists) throw ProjectError(ProjectError::Kind::missing);  // and no lock file is made
  const FolderLock lock(directory);
  const auto stored = load(id);
  auto changed = stored;
  change(changed);
  checkSlug(stored.document.share.slug, changed.document.share.slug);
  if (changed.document == stored.document) return stored;
  writeDocument(changed.document);
  changed.revision = ProjectRevision::of(Json(changed.document));
  return changed;
}

void ProjectStore::changeIfReadable(std::string_view id,
                                    const std::function<void(ProjectDocument&)>& change) const {
  try {
    changeProject(id, [&](StoredProject& stored) { change(stored.document); });
  } catch (const ProjectError& error) {
    if (error.kind() == ProjectError::Kind::pathNotUTF8) throw;
  }
}

void ProjectStore::writeEditorState(std::string_view id, const ProjectEditorState& editorState) const {
  changeIfReadable(id, [&](ProjectDocument& document) {
    document.editorState = editorState;
    document.updatedAt = now();
  });
}

void ProjectStore::updateShare(std::string_view id, const ProjectShareRecord& record) const {
  changeIfReadable(id, [&](ProjectDocument& document) { document.share = record; });
}

void ProjectStore::rename(std::string_view id, const std::string& title) const {
  changeIfReadable(id, [&](ProjectDocument& document) {
    document.title = title;
    document.updatedAt = now();
  });
}

void ProjectStore::saveEditorState(const EditorStateHolding& holder, std::string_view id) const {
  writeEditorState(id, holder.exportEditorState());
}

bool ProjectStore::restoreEditorState(EditorStateHolding& holder, std::string_view id) const {
  const auto stored = document(id);
  if (!stored || !stored->editorState) return false;
  holder.applyEditorState(*stored->editorState);
  return true;
}

RecordingHandoffFields ProjectStore::recording(std::string_view id) const {
  const auto stored = document(id);
  if (!stored || !stored->recordingSession) return {};
  const auto& session = *stored->recordingSession;
  return {.screenVideoPath = session.screenVideoPath,
          .cursorTelemetryPath = session.cursorTelemetryPath,
          .facecamVideoPath = session.facecamVideoPath,
          .facecamOffsetMs = session.facecamOffsetMs,
          .sourceName = session.sourceName};
}

std::optional<ProjectShareRecord> ProjectStore::share(std::string_view id) const {
  const auto stored = document(id);
  return stored ? std::optional(stored->share) : std::nullopt;
}

std::map<std::string, ProjectShareRecord> ProjectStore::shareRecords() const {
  std::map<std::string, ProjectShareRecord> result;
  for (auto& entry : ProjectIndex::read(directory)) {
    if (!isDocumentID(entry.summary.id)) continue;
    auto current = ProjectIndex::current(directory, std::move(entry));
    if (current.share) result.emplace(std::move(current.summary.id), std::move(*current.share));
  }
  return result;
}

ProjectStore::ProjectListItem ProjectStore::listItem(const ProjectIndexEntry& entry) {
  const auto& summary = entry.summary;
  const auto share = entry.share.value_or(ProjectShareRecord{});
  return {.id = summary.id,
          .title = summary.title,
          .sourceName = summary.sourceName,
          .recordingPath = summary.recordingPath,
          .screenshotPath = summary.screenshotPath,
          .createdAt = summary.createdAt,
          .updatedAt = summary.updatedAt,
          .shareStatus = share.status,
          .shareURL = share.shareURL,
          .interruptedCause = summary.interruptedCause};
}

std::vector<ProjectStore::ProjectListItem> ProjectStore::projects() const {
  std::vector<ProjectListItem> result;
  for (auto& entry : ProjectIndex::read(directory))
    if (isDocumentID(entry.summary.id))
      result.push_back(listItem(ProjectIndex::current(directory, std::move(entry))));
  return result;
}

void ProjectStore::delete_(std::string_view id) const {
  const auto path = documentPath(id);
  std::error_code error;
  if (!std::filesystem::exists(directory, error) && !error) return;
  const FolderLock lock(directory);
  std::filesystem::remove(path, error);
  if (error) throw FileError("delete", path, error);
  updateIndex(id, nullptr);
}

std::vector<ProjectIndexEntry> ProjectStore::refreshIndex() const {
  // Mostly nothing has changed: then nothing is written nor waited for.
  const auto known = ProjectIndex::read(directory);
  auto entries = ProjectIndex::ofFolder(directory, known);
  if (entries == known) return entries;
  constexpr auto longest = std::chrono::seconds(1);  // the list is right without the index too
  try {
    const FolderLock lock(directory, longest);
    entries = ProjectIndex::ofFolder(directory, ProjectIndex::read(directory));
    writeIndex(entries);
  } catch (const FileError& error) {
    Log::write("the list of projects could not be updated: {}", error.description());
  }
  return entries;
}

void ProjectStore::removeTemporaries() const {
  std::error_code error;
  if (!std::filesystem::exists(directory, error)) return;
  const FolderLock lock(directory);
  std::filesystem::directory_iterator file(directory, error);
  for (; !error && file != std::filesystem::directory_iterator(); file.increment(error)) {
    const auto& path = file->path();
    std::error_code ignored;
    if (AtomicFile::isTemporary(path.filename().string()) && path.stem().extension() == ".json")
      std::filesystem::remove(path, ignored);
  }
}

std::optional<ProjectStore::ExportedProject> ProjectStore::exportedProject(std::string_view id) const {
  const auto stored = document(id);
  return stored ? std::optional(exported(*stored)) : std::nullopt;
}

ProjectStore::ExportedProject ProjectStore::exported(const ProjectDocument& document) {
  const ProjectManifest manifest{.schemaVersion = document.schemaVersion,
                                 .title = document.title,
                                 .sourceName = document.sourceName,
                                 .createdAt = document.createdAt,
                                 .updatedAt = document.updatedAt,
                                 .facecamOffsetMs = document.recordingSession
                                                        ? document.recordingSession->facecamOffsetMs
                                                        : std::nullopt,
                                 .share = document.share,
                                 .interruptedCause = document.interruptedCause};
  ExportedProject result{.projectJSON = JSON::pretty(manifest),
                         .suggestedName = FileNames::fromTitle(document.title)};
  if (document.editorState) result.editorStateJSON = JSON::pretty(*document.editorState);
  result.screenVideoPath = document.recordingPath;
  if (const auto& session = document.recordingSession) {
    result.screenVideoPath = session->screenVideoPath;
    result.cursorTelemetryPath = session->cursorTelemetryPath;
    result.facecamVideoPath = session->facecamVideoPath;
  }
  return result;
}

ProjectDocument ProjectStore::importProject(std::string_view projectJSON,
                                            const std::optional<std::string>& editorStateJSON,
                                            const RecordingHandoffFields& media) const {
  const auto manifest = JSON::decode<ProjectManifest>(JSON::parse(projectJSON));
  ProjectDocument document{.schemaVersion = manifest.schemaVersion,
                           .title = manifest.title,
                           .recordingPath = media.screenVideoPath,
                           .sourceName = manifest.sourceName,
                           .createdAt = manifest.createdAt,
                           .updatedAt = now(),
                           .id = UUID::random().text(),
                           .share = manifest.share,
                           .interruptedCause = manifest.interruptedCause};
  if (editorStateJSON) document.editorState = JSON::decode<ProjectEditorState>(JSON::parse(*editorStateJSON));
  document.recordingSession = RecordingSession{.screenVideoPath = media.screenVideoPath,
                                               .facecamVideoPath = media.facecamVideoPath,
                                               .facecamOffsetMs = manifest.facecamOffsetMs,
                                               .sourceName = manifest.sourceName,
                                               .showCursorOverlay = media.cursorTelemetryPath.has_value(),
                                               .cursorTelemetryPath = media.cursorTelemetryPath};
  const FolderLock lock(directory);
  if (!manifest.share.slug) {
    writeDocument(document);
    return document;
  }
  // A link shows one project: the one that has it keeps it.
  auto entries = ProjectIndex::ofFolder(directory, ProjectIndex::read(directory));
  if (std::ranges::any_of(entries, [&](const auto& entry) {
        return entry.share && entry.share->slug == manifest.share.slug;
      }))
    document.share = {};
  checkPaths(document);
  AtomicFile::write(documentPath(document.id), JSON::pretty(document));
  entries.push_back(ProjectIndex::entry(directory, document));
  writeIndex(std::move(entries));
  return document;
}

}  // namespace quillant
