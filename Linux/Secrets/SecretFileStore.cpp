#include "Linux/Secrets/SecretFileStore.h"

#include <cctype>
#include <cerrno>
#include <fmt/format.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "Core/AtomicFile.h"
#include "Core/PrivateFolder.h"

namespace quillant {

namespace {

constexpr mode_t fileMode = 0600;
constexpr std::size_t longestSecret = std::size_t{1} << 16;

[[noreturn]] void throwErrno(int number, const std::string& what) {
  throw SecretStoreError(number, what + ": " + std::error_code(number, std::system_category()).message());
}

/// A name's text as part of a file's name: no slash, no leading dot, nothing that two texts share.
std::string fileNamePart(const std::string& text) {
  std::string result;
  for (const char character : text) {
    const bool plain = std::isalnum(static_cast<unsigned char>(character)) || character == '-';
    result +=
        plain ? std::string(1, character) : fmt::format("%{:02X}", static_cast<unsigned char>(character));
  }
  return result;
}

/// Runs `use`, and lets its file errors out as the store's.
template <class Use>
auto asStoreError(Use&& use) {
  try {
    return use();
  } catch (const FileError& error) {
    throw SecretStoreError(error.code().value(), error.description());
  }
}

}  // namespace

bool SecretFileStore::store(const SecretName& name, const std::string& secret) const {
  const auto file = path(name);
  std::error_code ignored;
  const bool isFirst = !std::filesystem::exists(file, ignored);
  asStoreError([&] {
    PrivateFolder::ensure(folder_);
    AtomicFile::write(file, secret, fileMode);
  });
  return isFirst;
}

std::optional<std::string> SecretFileStore::load(const SecretName& name) const {
  const auto file = path(name);
  std::error_code ignored;
  const auto status = std::filesystem::symlink_status(file, ignored);
  if (status.type() == std::filesystem::file_type::not_found) return std::nullopt;
  return asStoreError([&] {
    PrivateFolder::ensure(folder_);
    PrivateFolder::ensureFile(file);
    return AtomicFile::read(file, longestSecret);
  });
}

void SecretFileStore::remove(const SecretName& name) const {
  const auto file = path(name);
  AtomicFile::removeTemporaries(file);
  if (::unlink(file.c_str()) != 0 && errno != ENOENT && errno != ENOTDIR) throwErrno(errno, file.string());
}

std::filesystem::path SecretFileStore::path(const SecretName& name) const {
  return folder_ / (fileNamePart(name.service) + "_" + fileNamePart(name.account));
}

}  // namespace quillant
