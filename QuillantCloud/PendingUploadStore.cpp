#include "QuillantCloud/PendingUploadStore.h"

#include <algorithm>
#include <fmt/format.h>

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
/// By which the names of made files begin.
constexpr std::string_view madePrefix = "quillant-";
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

std::vector<std::filesystem::path> filesOf(const PendingUpload& entry) {
  std::vector<std::filesystem::path> files;
  for (const auto& path : {std::optional(entry.videoPath), entry.thumbPath, entry.captionsPath})
    if (path) files.emplace_back(*path);
  return files;
}

/// Those that lie in the store's folder.
void removeFiles(const PendingUploadStore& store, const std::vector<std::filesystem::path>& files) {
  std::error_code ignored;
  for (const auto& file : files)
    if (file.parent_path() == store.directory) std::filesystem::remove(file, ignored);
}

/// Removes those of the made files among `names`, which were listed before, that no entry names. Who makes
/// files has a claim from before the first of them is there until an entry names them.
void removeMadeFiles(const PendingUploadStore& store, const std::vector<std::string>& names) {
  std::vector<std::filesystem::path> made;
  for (const auto& name : names) {
    const std::filesystem::path file = name;
    if (file.extension() == claimExtension && store.claimant(file.stem())) return;
    if (name.starts_with(madePrefix) || name.starts_with("." + std::string(madePrefix)))
      made.push_back(store.directory / file);
  }
  for (const auto& entry : store.all())
    for (const auto& file : filesOf(entry)) std::erase(made, file);
  removeFiles(store, made);
}

/// The file of a claim that nobody has any more goes with the next one.
void removeClaim(const PendingUploadStore& store, const std::string& name) {
  try {
    store.claim(name.substr(0, name.find(claimExtension)));
  } catch (const FileError&) {
    // It stays.
  }
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
  for (const auto& path : filesOf(entry))
    if (!Text::isUTF8(path.native())) throw UploadError(UploadError::PathNotUTF8{path});
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
  const auto entry = load(id);
  std::filesystem::remove(fileOf(*this, id, entryExtension), ignored);
  if (entry) removeFiles(*this, filesOf(*entry));
}

void PendingUploadStore::replace(const PendingUpload& entry) const {
  const auto before = load(entry.id);
  save(entry);
  if (!before) return;
  auto files = filesOf(*before);
  for (const auto& file : filesOf(entry)) std::erase(files, file);
  removeFiles(*this, files);
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

std::filesystem::path PendingUploadStore::newFile(std::string_view what, std::string_view extension) const {
  return directory / fmt::format("{}{}-{}{}", madePrefix, what, UUID::random().text(), extension);
}

void PendingUploadStore::removeLitter() const {
  constexpr std::size_t idLength = 36;
  const auto listed = names(*this);
  removeMadeFiles(*this, listed);
  for (const auto& name : listed) {
    if (name.ends_with(claimExtension) || name.ends_with(claimExtension + std::string(".owner"))) {
      removeClaim(*this, name);
      continue;
    }
    // A dot, and then the name of the file that it was to become.
    const bool isTemporary = AtomicFile::isTemporary(name);
    const auto id = name.substr(isTemporary ? 1 : 0, idLength);
    const auto hasNoEntry = [&, entry = fileOf(*this, id, entryExtension)] {
      std::error_code ignored;
      return !std::filesystem::exists(entry, ignored);
    };
    const bool isPoster = name == id + posterExtension;
    if (!isId(id) || !(isTemporary || (isPoster && hasNoEntry()))) continue;
    try {
      const auto claimed = claim(id);
      if (!claimed) continue;
      std::error_code ignored;
      if (isTemporary || hasNoEntry()) std::filesystem::remove(directory / name, ignored);
    } catch (const FileError&) {
      // It stays.
    }
  }
}

}  // namespace quillant
