#include "Editor/Project/ProjectIndex.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <sys/stat.h>

#include "Core/AtomicFile.h"
#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr std::string_view extension = ".json";
constexpr std::string_view indexName = "index";

std::filesystem::path indexPath(const std::filesystem::path& folder) {
  return folder / "index.json";
}

std::filesystem::path documentPath(const std::filesystem::path& folder, const std::string& id) {
  return folder / (id + std::string(extension));
}

constexpr auto stampFields = [](auto& stamp, const auto& field) {
  field("inode", stamp.inode);
  field("size", stamp.size);
  field("changedAt", stamp.changedAt);
};

/// What is beside the summary's own keys.
constexpr auto cachedFields = [](auto& entry, const auto& field) {
  field("share", entry.share);
  field("file", entry.file);
};

/// Latest change first; texts of one form sort as the dates that they tell.
void sortByChange(std::vector<ProjectIndexEntry>& entries) {
  std::ranges::stable_sort(
      entries, std::greater{}, [](const auto& entry) -> const auto& { return entry.summary.updatedAt; });
}

ProjectIndexEntry makeEntry(const std::filesystem::path& folder, const ProjectDocument& document,
                            const std::optional<FileStamp>& file) {
  std::error_code error;
  const auto path = documentPath(folder, document.id);
  const auto absolute = std::filesystem::absolute(path, error);
  return {.summary = {.id = document.id,
                      .title = document.title,
                      .path = (error ? path : absolute).string(),
                      .recordingPath = document.recordingPath,
                      .screenshotPath = document.screenshotPath,
                      .sourceName = document.sourceName,
                      .createdAt = document.createdAt,
                      .updatedAt = document.updatedAt,
                      .lastOpenedAt = document.updatedAt,
                      .missing = false,
                      .interruptedCause = document.interruptedCause},
          .share = document.share,
          .file = file};
}

/// A document without its edit, which may hold hours of transcripts.
std::optional<ProjectDocument> readWithoutEdit(const std::filesystem::path& path, const std::string& id) {
  try {
    auto document = JSON::decode<ProjectDocument>(JSON::parseWithout(AtomicFile::read(path), "editorState"));
    return document.id == id ? std::optional(std::move(document)) : std::nullopt;
  } catch (const Error&) {
    return std::nullopt;
  }
}

}  // namespace

std::optional<FileStamp> FileStamp::of(const std::filesystem::path& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) return std::nullopt;
    throw FileError("read", path, {errno, std::generic_category()});
  }
  if (!S_ISREG(status.st_mode)) return std::nullopt;
  constexpr std::int64_t nanoseconds = 1'000'000'000;
  return FileStamp{.inode = status.st_ino,
                   .size = status.st_size,
                   .changedAt = status.st_ctim.tv_sec * nanoseconds + status.st_ctim.tv_nsec};
}

void to_json(Json& json, const FileStamp& stamp) {
  JSON::writeFields(json, stamp, stampFields);
}

void from_json(const Json& json, FileStamp& stamp) {
  JSON::readFields(json, stamp, stampFields);
}

void to_json(Json& json, const ProjectIndexEntry& entry) {
  Json cached;
  JSON::writeFields(cached, entry, cachedFields);
  json = entry.summary;
  json.update(cached);
}

void from_json(const Json& json, ProjectIndexEntry& entry) {
  JSON::readFields(json, entry, cachedFields);
  entry.summary = JSON::decode<ProjectSummary>(json);
}

namespace ProjectIndex {

std::vector<ProjectIndexEntry> read(const std::filesystem::path& folder) {
  std::vector<ProjectIndexEntry> entries;
  try {
    const auto list = JSON::parse(AtomicFile::read(indexPath(folder)));
    if (!list.is_array()) return {};
    for (const auto& element : list) {
      try {
        entries.push_back(JSON::decode<ProjectIndexEntry>(element));
      } catch (const JSONError&) {
        // The others are as good as before.
      }
    }
  } catch (const Error&) {
    // The documents are what counts.
  }
  sortByChange(entries);
  return entries;
}

void write(const std::filesystem::path& folder, std::vector<ProjectIndexEntry> entries) {
  sortByChange(entries);
  AtomicFile::write(indexPath(folder), JSON::pretty(entries));
}

ProjectIndexEntry entry(const std::filesystem::path& folder, const ProjectDocument& document) {
  std::optional<FileStamp> file;
  try {
    file = FileStamp::of(documentPath(folder, document.id));
  } catch (const FileError&) {
    // Without a stamp it is read again when it is listed.
  }
  return makeEntry(folder, document, file);
}

ProjectIndexEntry current(const std::filesystem::path& folder, ProjectIndexEntry entry) {
  const auto path = documentPath(folder, entry.summary.id);
  std::optional<FileStamp> file;
  try {
    file = FileStamp::of(path);
  } catch (const FileError&) {
    return entry;
  }
  if (!file) entry.share.reset();
  if (!file || (entry.share && entry.file == file)) return entry;
  const auto document = readWithoutEdit(path, entry.summary.id);
  return document ? makeEntry(folder, *document, file) : entry;
}

std::vector<ProjectIndexEntry> ofFolder(const std::filesystem::path& folder,
                                        std::vector<ProjectIndexEntry> known) {
  std::map<std::string, ProjectIndexEntry> byID;
  for (auto& one : known) {
    auto id = one.summary.id;
    byID.insert_or_assign(std::move(id), std::move(one));
  }
  std::vector<ProjectIndexEntry> result;
  std::error_code error;
  std::filesystem::directory_iterator file(folder, error);
  for (; !error && file != std::filesystem::directory_iterator(); file.increment(error)) {
    const auto& path = file->path();
    auto id = path.stem().string();
    if (path.extension() != extension || id == indexName || id.starts_with('.')) continue;
    const auto found = byID.find(id);
    const bool isKnown = found != byID.end();
    ProjectIndexEntry fresh;
    fresh.summary.id = id;
    auto one = current(folder, isKnown ? std::move(found->second) : std::move(fresh));
    // A file that has never been read as a project is none.
    if (isKnown || one.share) result.push_back(std::move(one));
  }
  if (error && error != std::errc::no_such_file_or_directory) throw FileError("read", folder, error);
  sortByChange(result);
  return result;
}

}  // namespace ProjectIndex
}  // namespace quillant
