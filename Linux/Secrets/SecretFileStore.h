#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "QuillantCloud/SecretStoring.h"

namespace quillant {

/// Secrets as files that nobody but the user can read. Blocking; any thread. Throws `SecretStoreError`.
class SecretFileStore {
 public:
  explicit SecretFileStore(std::filesystem::path folder) : folder_(std::move(folder)) {}

  /// True if there was nothing under `name` before.
  bool store(const SecretName& name, const std::string& secret) const;
  std::optional<std::string> load(const SecretName& name) const;
  /// What a process left that was killed while it stored a secret under `name` goes too.
  void remove(const SecretName& name) const;

  std::filesystem::path path(const SecretName& name) const;

 private:
  std::filesystem::path folder_;
};

}  // namespace quillant
