#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Core/JSONForward.h"
#include "Editor/Project/ProjectDocument.h"
#include "Editor/Project/ProjectShareRecord.h"
#include "Editor/Project/ProjectSummary.h"

namespace quillant {

/// Which file a document was read from. A document that is replaced is another file.
struct FileStamp {
  std::uint64_t inode = 0;
  std::int64_t size = 0;
  std::int64_t changedAt = 0;  ///< Nanoseconds of the file system's clock.

  /// None if there is no file at `path`. Throws `FileError` if that cannot be told.
  static std::optional<FileStamp> of(const std::filesystem::path& path);
  friend bool operator==(const FileStamp&, const FileStamp&) = default;
};

void to_json(Json& json, const FileStamp& stamp);
void from_json(const Json& json, FileStamp& stamp);

/// What a list shows of one project.
struct ProjectIndexEntry {
  ProjectSummary summary;
  std::optional<ProjectShareRecord> share;
  std::optional<FileStamp> file;  ///< What both were read from.

  friend bool operator==(const ProjectIndexEntry&, const ProjectIndexEntry&) = default;
};

void to_json(Json& json, const ProjectIndexEntry& entry);
void from_json(const Json& json, ProjectIndexEntry& entry);

/// `index.json`: what a list shows of every document in a folder, so that listing thousands opens none. It is
/// a cache: an entry counts while its document is still the file that it was read from. Blocking.
namespace ProjectIndex {

/// Latest change first. What does not read is left out: one entry, or all of a file that is no list.
std::vector<ProjectIndexEntry> read(const std::filesystem::path& folder);
/// Throws `FileError`.
void write(const std::filesystem::path& folder, std::vector<ProjectIndexEntry> entries);

/// The entry of a document that is stored already.
ProjectIndexEntry entry(const std::filesystem::path& folder, const ProjectDocument& document);
/// `entry` as the document has it now, which is read only if it is another file. Of a document that is gone
/// the link is unknown; of one that cannot be read, what is known stays.
ProjectIndexEntry current(const std::filesystem::path& folder, ProjectIndexEntry entry);
/// The entries of all documents in the folder, taken from `known` where they are current. Throws `FileError`
/// if the folder cannot be listed; one that does not exist is empty.
std::vector<ProjectIndexEntry> ofFolder(const std::filesystem::path& folder,
                                        std::vector<ProjectIndexEntry> known);

}  // namespace ProjectIndex
}  // namespace quillant
