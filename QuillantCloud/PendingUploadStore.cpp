#include "QuillantCloud/PendingUploadStore.h"

#include <algorithm>

#include "Core/AtomicFile.h"
#include "Core/JSON.h"
#include "Core/PrivateFolder.h"

namespace quillant {

namespace {

constexpr std::string_view extension = ".json";
/// Far above any entry: what is larger is none.
constexpr std::size_t longestFile = std::size_t{1} << 22;

std::filesystem::path posterOf(const PendingUploadStore& store, const std::string& id) {
  return store.directory / (id + ".jpg");
}

std::filesystem::path fileOf(const PendingUploadStore& store, const std::string& id) {
  return store.directory / (id + std::string(extension));
}

std::optional<PendingUpload> read(const std::filesystem::path& path) {
  try {
    return JSON::decode<PendingUpload>(JSON::parse(AtomicFile::read(path, longestFile)));
  } catch (const Error&) {
    return std::nullopt;
  }
}

}  // namespace

void PendingUploadStore::save(const PendingUpload& entry) const {
  // Signed URLs are as good as a password until they lapse.
  PrivateFolder::ensure(directory);
  AtomicFile::write(fileOf(*this, entry.id), JSON::pretty(entry), 0600);
}

void PendingUploadStore::saveIfPossible(const PendingUpload& entry) const {
  try {
    save(entry);
  } catch (const FileError&) {
    // The next run finds the entry as it was.
  }
}

std::optional<PendingUpload> PendingUploadStore::load(const std::string& id) const {
  return read(fileOf(*this, id));
}

void PendingUploadStore::remove(const std::string& id) const {
  std::error_code ignored;
  std::filesystem::remove(posterOf(*this, id), ignored);
  std::filesystem::remove(fileOf(*this, id), ignored);
}

std::vector<PendingUpload> PendingUploadStore::all() const {
  std::vector<PendingUpload> entries;
  std::error_code failed;
  for (auto file = std::filesystem::directory_iterator(directory, failed);
       !failed && file != std::filesystem::directory_iterator(); file.increment(failed)) {
    if (file->path().extension() != extension) continue;
    if (auto entry = read(file->path())) entries.push_back(std::move(*entry));
  }
  std::stable_sort(entries.begin(), entries.end(),
                   [](const auto& one, const auto& other) { return one.createdAt < other.createdAt; });
  return entries;
}

std::filesystem::path PendingUploadStore::makePosterPath(const std::string& id) const {
  PrivateFolder::ensure(directory);
  return posterOf(*this, id);
}

}  // namespace quillant
