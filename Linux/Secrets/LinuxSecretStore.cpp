#include "Linux/Secrets/LinuxSecretStore.h"

#include <cerrno>
#include <utility>

#include "Linux/Secrets/SecretFileStore.h"
#include "Linux/Secrets/SecretServiceStore.h"

namespace quillant {

namespace {

/// A file under this name, without a secret in it, says that a keyring has one: what to tell somebody who is
/// signed out where no keyring answers.
SecretName keyringNote(SecretName name) {
  name.account += "@keyring";
  return name;
}

class Store : public SecretStoring {
 public:
  explicit Store(LinuxSecretStore::Options options)
      : service_(options.timeLimit), files_(std::move(options.folder)), notice_(std::move(options.notice)) {}

  Task<> store(SecretName name, std::string secret) override {
    // Before the secret: killed in between, it is a note too many and not one too few.
    const bool noteIsNew = files_.store(keyringNote(name), "");
    const bool kept = co_await service_.store(name, secret);
    if (kept) {
      files_.remove(name);
      co_return;
    }
    if (noteIsNew) files_.remove(keyringNote(name));
    const bool isFirst = files_.store(name, secret);
    if (isFirst && notice_)
      notice_("No keyring answers here. The secret is kept in " + files_.path(name).string() +
              ", which only you can read.");
  }

  Task<std::optional<std::string>> load(SecretName name) override {
    // A file is there only if no keyring answered when the secret was last stored: it is the newer one.
    auto secret = files_.load(name);
    if (!secret) secret = co_await service_.load(name);
    co_return secret;
  }

  Task<> remove(SecretName name) override {
    files_.remove(name);
    const bool answered = co_await service_.remove(name);
    if (answered)
      files_.remove(keyringNote(name));
    else if (files_.load(keyringNote(name)))
      throw SecretStoreError(EHOSTUNREACH, "the keyring that keeps the secret does not answer here");
  }

 private:
  SecretServiceStore service_;
  SecretFileStore files_;
  std::function<void(const std::string&)> notice_;
};

}  // namespace

std::unique_ptr<SecretStoring> LinuxSecretStore::make(Options options) {
  return std::make_unique<Store>(std::move(options));
}

}  // namespace quillant
