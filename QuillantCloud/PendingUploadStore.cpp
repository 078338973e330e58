#include "QuillantCloud/PendingUploadStore.h"

#include <algorithm>

#include "Core/AtomicFile.h"
#include "Core/JSON.h"
#include "Core/PrivateFolder.h"
#include "Core/Text.h"
#include "Core/UUID.h"
#include "QuillantCloud/UploadError.h"

namespace quillant {

namespace {

constexpr const char* entryExtension = ".json";
constexpr const char* posterExtension = ".jpg";
constexpr const char* claimExtension = ".lock";
/// Far above any entry: what is larger is none.
constexpr std::size_t longestFile = std::size_t{1} << 22;

std::filesystem::path fileOf(const PendingUploadStore& store, const std::string& id, const char* extension) {
  return store.directory / (id + extension);
}

bool isId(const std::string& text) {
  const auto id = UUID::parse(text);
  return id && id->text() == text;
}

/// The names in the store's folder. Throws `FileError` if it is not the user's own.
std::vector<std::string> names(const PendingUploadStore& store) {
  std::vector<std::string> result;
  std::error_code failed;
  const auto status = std::filesystem::symlink_status(store.directory, failed);
  if (status.type() == std::filesystem::file_type::not_found) return result;
  PrivateFolder::ensure(store.directory);
  for (auto file = std::filesystem::directory_iterator(store.directory, failed);
       !failed && file != std::filesystem::directory_iterator(); file.increment(failed))
    result.push_back(file->path().filename().string());
  return result;
}

/// Throws an `Error` if there is no such entry.
PendingUpload read(const PendingUploadStore& store, const std::string& id) {
  const auto file = fileOf(store, id, entryExtension);
  PrivateFolder::ensureFile(file);
  auto entry = JSON::decode<PendingUpload>(JSON::parse(AtomicFile::read(file, longestFile)));
  if (entry.id != id) throw JSONError(JSONError::Kind::invalidValue, "another entry's", "id");
  return entry;
}

}  // namespace

std::optional<UploadClaim> PendingUploadStore::claim(const std::string& id) const {
  PrivateFolder::ensure(directory);
  return UploadClaim::take(fileOf(*this, id, claimExtension));
}

std::optional<pid_t> PendingUploadStore::claimant(const std::string& id) const {
  return UploadClaim::holder(fileOf(*this, id, claimExtension));
}

void PendingUploadStore::save(const PendingUpload& entry) const {
  for (const auto& path : {std::optional(entry.videoPath), entry.thumbPath, entry.captionsPath})
    if (path && !Text::isUTF8(*path)) throw UploadError(UploadError::PathNotUTF8{*path});
  // Signed URLs are as good as a password until they expire.
  PrivateFolder::ensure(directory);
  AtomicFile::write(fileOf(*this, entry.id, entryExtension), JSON::pretty(entry), 0600);
}

void PendingUploadStore::saveIfPossible(const PendingUpload& entry) const {
  try {
    save(entry);
  } catch (const Error&) {
    // The next run finds the entry as it was.
  }
}

std::optional<PendingUpload> PendingUploadStore::load(const std::string& id) const {
  if (!isId(id)) return std::nullopt;
  try {
    return read(*this, id);
  } catch (const Error&) {
    return std::nullopt;
  }
}

void PendingUploadStore::remove(const std::string& id) const {
  std::error_code ignored;
  std::filesystem::remove(posterPath(id), ignored);
  std::filesystem::remove(fileOf(*this, id, entryExtension), ignored);
}

std::vector<PendingUpload> PendingUploadStore::all() const {
  std::vector<PendingUpload> entries;
  for (const auto& name : names(*this)) {
    const std::filesystem::path file = name;
    if (file.extension() != entryExtension) continue;
    if (auto entry = load(file.stem().string())) entries.push_back(std::move(*entry));
  }
  std::stable_sort(entries.begin(), entries.end(),
                   [](const auto& one, const auto& other) { return one.createdAt < other.createdAt; });
  return entries;
}

std::filesystem::path PendingUploadStore::posterPath(const std::string& id) const {
  return fileOf(*this, id, posterExtension);
}

void PendingUploadStore::removeLitter() const {
  constexpr std::size_t idLength = 36;
  for (const auto& name : names(*this)) {
    // A dot, and then the name of the file that it was to become.
    const bool isTemporary = AtomicFile::isTemporary(name);
    const auto id = name.substr(isTemporary ? 1 : 0, idLength);
    const auto hasNoEntry = [&, entry = fileOf(*this, id, entryExtension)] {
      std::error_code ignored;
      return !std::filesystem::exists(entry, ignored);
    };
    const bool isPoster = name == id + posterExtension;
    const bool isClaim = name.starts_with(id + claimExtension);
    if (!isId(id) || !(isTemporary || isClaim || (isPoster && hasNoEntry()))) continue;
    try {
      // The file of a claim that nobody has any more goes with this one.
      const auto claimed = claim(id);
      if (!claimed || isClaim) continue;
      std::error_code ignored;
      if (isTemporary || hasNoEntry()) std::filesystem::remove(directory / name, ignored);
    } catch (const FileError&) {
      // It stays.
    }
  }
}

}  // namespace quillant
