#include "Editor/Project/ProjectStore.h"

#include <algorithm>
#include <atomic>
#include <fmt/format.h>
#include <future>
#include <thread>

#include "Core/AtomicFile.h"
#include "Core/Date.h"
#include "Core/JSON.h"
#include "Editor/Project/FileNames.h"
#include "Editor/Project/FolderLock.h"
#include "Editor/Project/ProjectManifest.h"

namespace quillant {

namespace {

/// What the file holds, or nothing if it is missing or does not read.
template <class Value>
std::optional<Value> readJSON(const std::filesystem::path& path) {
  try {
    return JSON::decode<Value>(JSON::parse(AtomicFile::read(path)));
  } catch (const Error&) {
    return std::nullopt;
  }
}

/// The share record of a document, without building the rest of it: a library lists thousands. A document
/// that is JSON but holds something else that does not read shows its link all the same.
std::optional<ProjectShareRecord> readShare(const std::filesystem::path& path) {
  const auto onlyShare = [](int depth, Json::parse_event_t event, Json& parsed) {
    return depth != 1 || event != Json::parse_event_t::key || parsed == "share";
  };
  try {
    const auto document = Json::parse(AtomicFile::read(path), onlyShare, false);
    return JSON::required<ProjectShareRecord>(document, "share");
  } catch (const Error&) {
    return std::nullopt;
  }
}

std::string now() {
  return Date::now().iso8601();
}

/// Whether `<id>.json` is a file of the store's folder and not its index.
bool isDocumentID(std::string_view id) {
  return FileNames::isPlain(std::string(id) + ".json") && id != "index";
}

/// Latest change first; texts of one form sort as the dates that they tell.
void sortByChange(std::vector<ProjectSummary>& summaries) {
  std::ranges::stable_sort(summaries, std::greater{}, &ProjectSummary::updatedAt);
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

FolderLock ProjectStore::lockFor(std::string_view id) const {
  documentPath(id);  // throws before anything is made for an id that is none
  return FolderLock(directory);
}

std::vector<ProjectSummary> ProjectStore::summaries() const {
  auto result = readJSON<std::vector<ProjectSummary>>(indexPath()).value_or(std::vector<ProjectSummary>{});
  sortByChange(result);
  return result;
}

ProjectSummary ProjectStore::summary(const ProjectDocument& document) const {
  return {.id = document.id,
          .title = document.title,
          .path = std::filesystem::absolute(documentPath(document.id)).string(),
          .recordingPath = document.recordingPath,
          .screenshotPath = document.screenshotPath,
          .sourceName = document.sourceName,
          .createdAt = document.createdAt,
          .updatedAt = document.updatedAt,
          .lastOpenedAt = document.updatedAt,
          .missing = false,
          .interruptedCause = document.interruptedCause};
}

void ProjectStore::writeIndex(const std::vector<ProjectSummary>& summaries) const {
  AtomicFile::write(indexPath(), JSON::pretty(summaries));
}

void ProjectStore::writeDocument(const ProjectDocument& document) const {
  AtomicFile::write(documentPath(document.id), JSON::pretty(document));
  auto index = summaries();
  std::erase_if(index, [&](const ProjectSummary& entry) { return entry.id == document.id; });
  index.push_back(summary(document));
  writeIndex(index);
}

ProjectDocument ProjectStore::create(const RecordingHandoffFields& recording,
                                     const CreateOptions& options) const {
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
  createDocument(document);
  return document;
}

void ProjectStore::createDocument(const ProjectDocument& document) const {
  const auto lock = lockFor(document.id);
  writeDocument(document);
}

void ProjectStore::saveDocument(const ProjectDocument& document) const {
  const auto lock = lockFor(document.id);
  const auto stored = share(document.id);
  if (stored && stored->slug && document.share.slug && *stored->slug != *document.share.slug)
    throw StoreError(*stored->slug, *document.share.slug);
  writeDocument(document);
}

std::optional<ProjectDocument> ProjectStore::document(std::string_view id) const {
  if (!isDocumentID(id)) return std::nullopt;
  auto stored = readJSON<ProjectDocument>(documentPath(id));
  // A document under another's name would be written back over that other one.
  return stored && stored->id == id ? std::move(stored) : std::nullopt;
}

template <class Change>
void ProjectStore::changeDocument(std::string_view id, Change&& change) const {
  if (!document(id)) return;  // no lock file is left where there is no project
  const FolderLock lock(directory);
  auto current = document(id);
  if (!current) return;
  const auto slug = current->share.slug;
  change(*current);
  if (slug && current->share.slug && *slug != *current->share.slug)
    throw StoreError(*slug, *current->share.slug);
  writeDocument(*current);
}

void ProjectStore::writeEditorState(std::string_view id, const ProjectEditorState& editorState) const {
  changeDocument(id, [&](ProjectDocument& document) {
    document.editorState = editorState;
    document.updatedAt = now();
  });
}

void ProjectStore::updateShare(std::string_view id, const ProjectShareRecord& record) const {
  changeDocument(id, [&](ProjectDocument& document) { document.share = record; });
}

void ProjectStore::rename(std::string_view id, const std::string& title) const {
  changeDocument(id, [&](ProjectDocument& document) {
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
  for (const auto& entry : summaries())
    if (auto record = share(entry.id)) result.emplace(entry.id, std::move(*record));
  return result;
}

std::vector<ProjectStore::ProjectListItem> ProjectStore::projects() const {
  auto entries = summaries();
  std::vector<ProjectListItem> result(entries.size());
  std::atomic<std::size_t> next = 0;
  const auto readSome = [&] {
    for (auto at = next++; at < entries.size(); at = next++) {
      auto& entry = entries[at];
      const auto record = isDocumentID(entry.id)
                              ? readShare(documentPath(entry.id)).value_or(ProjectShareRecord{})
                              : ProjectShareRecord{};
      result[at] = {.id = std::move(entry.id),
                    .title = std::move(entry.title),
                    .sourceName = std::move(entry.sourceName),
                    .recordingPath = std::move(entry.recordingPath),
                    .screenshotPath = std::move(entry.screenshotPath),
                    .createdAt = std::move(entry.createdAt),
                    .updatedAt = std::move(entry.updatedAt),
                    .shareStatus = record.status,
                    .shareURL = record.shareURL,
                    .interruptedCause = std::move(entry.interruptedCause)};
    }
  };
  constexpr std::size_t worthAThread = 100;
  std::vector<std::future<void>> others;
  for (auto left = std::min<std::size_t>(entries.size() / worthAThread, std::thread::hardware_concurrency());
       left > 1; --left)
    others.push_back(std::async(std::launch::async, readSome));
  readSome();
  for (auto& other : others) other.get();
  return result;
}

void ProjectStore::delete_(std::string_view id) const {
  const auto path = documentPath(id);
  std::error_code error;
  if (!std::filesystem::exists(directory, error)) return;
  const FolderLock lock(directory);
  std::filesystem::remove(path, error);
  if (error) throw FileError("delete", path, error);
  auto index = summaries();
  if (std::erase_if(index, [&](const ProjectSummary& entry) { return entry.id == id; }) > 0)
    writeIndex(index);
}

void ProjectStore::rebuildIndex() const {
  const FolderLock lock(directory);
  std::vector<ProjectSummary> index;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    if (entry.path().extension() != ".json") continue;
    if (const auto stored = document(entry.path().stem().string())) index.push_back(summary(*stored));
  }
  sortByChange(index);
  writeIndex(index);
}

std::optional<ProjectStore::ExportedProject> ProjectStore::exportedProject(std::string_view id) const {
  const auto stored = document(id);
  if (!stored) return std::nullopt;
  const ProjectManifest manifest{
      .schemaVersion = stored->schemaVersion,
      .title = stored->title,
      .sourceName = stored->sourceName,
      .createdAt = stored->createdAt,
      .updatedAt = stored->updatedAt,
      .facecamOffsetMs = stored->recordingSession ? stored->recordingSession->facecamOffsetMs : std::nullopt,
      .share = stored->share,
      .interruptedCause = stored->interruptedCause};
  ExportedProject result{.projectJSON = JSON::pretty(manifest),
                         .suggestedName = FileNames::fromTitle(stored->title)};
  if (stored->editorState) result.editorStateJSON = JSON::pretty(*stored->editorState);
  result.screenVideoPath = stored->recordingPath;
  if (const auto& session = stored->recordingSession) {
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
  // A link shows one project: the one that has it keeps it.
  const auto records = shareRecords();
  if (std::ranges::any_of(records, [&](const auto& entry) {
        return manifest.share.slug && entry.second.slug == manifest.share.slug;
      }))
    document.share = {};
  writeDocument(document);
  return document;
}

}  // namespace quillant
