#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "Core/SerialQueue.h"
#include "QuillantCloud/SecretStoring.h"

namespace quillant {

/// Secrets in the session's Secret Service. Any executor; operations wait for one another. Throws
/// `SecretStoreError` if the service is there and refuses.
class SecretServiceStore {
 public:
  explicit SecretServiceStore(std::chrono::milliseconds timeLimit);
  ~SecretServiceStore();

  /// False if there is no service that answers.
  Task<bool> store(SecretName name, std::string secret);
  /// Nothing if there is no service that answers, too.
  Task<std::optional<std::string>> load(SecretName name);
  /// False if there is no service that answers.
  Task<bool> remove(SecretName name);

 private:
  class Worker;
  std::unique_ptr<Worker> worker_;  ///< Belongs to the queue's thread.
  SerialQueue queue_{"quillant.secrets"};
};

}  // namespace quillant
