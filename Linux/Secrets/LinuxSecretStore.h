#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "QuillantCloud/SecretStoring.h"

namespace quillant::LinuxSecretStore {

struct Options {
  std::filesystem::path folder;  ///< Where files go that no keyring takes; made when it is needed.
  /// Called with one line of text when a secret goes into a file for the first time. On the caller's
  /// executor.
  std::function<void(const std::string& line)> notice;
  /// How long a keyring may take for one operation, its user's answer to its questions included.
  std::chrono::milliseconds timeLimit = std::chrono::seconds(30);
};

std::unique_ptr<SecretStoring> make(Options options);

}  // namespace quillant::LinuxSecretStore
