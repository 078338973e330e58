#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Core/Error.h"
#include "Core/Task.h"

namespace quillant {

/// What a secret is found by.
struct SecretName {
  std::string service;
  std::string account;

  friend bool operator==(const SecretName&, const SecretName&) = default;
};

/// A secret store that refused. Holds no secret.
class SecretStoreError : public Error {
 public:
  /// `status` is the store's own number for what went wrong, `message` its words, empty if it has none.
  SecretStoreError(std::int32_t status, const std::string& message);
  std::int32_t status() const { return status_; }

 private:
  std::int32_t status_;
};

/// Where secrets outlive the process. Calls may come from any executor, and answer within seconds even where
/// the store waits for its user. All throw `SecretStoreError`.
class SecretStoring {
 public:
  virtual ~SecretStoring() = default;

  /// Replaces what is there under `name`.
  virtual Task<> store(SecretName name, std::string secret) = 0;
  /// Nothing under `name` is no error.
  virtual Task<std::optional<std::string>> load(SecretName name) = 0;
  /// Nothing under `name` is no error.
  virtual Task<> remove(SecretName name) = 0;
};

}  // namespace quillant
