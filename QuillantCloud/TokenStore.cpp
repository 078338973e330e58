#include "QuillantCloud/TokenStore.h"

#include <utility>

#include "Core/Text.h"
#include "QuillantCloud/QuillantConfig.h"

namespace quillant::TokenStore {

namespace {

SecretName name() {
  return {std::string(QuillantConfig::keychainService), QuillantConfig::keychainAccount()};
}

}  // namespace

Task<> save(SecretStoring& secrets, std::string token) {
  co_await secrets.store(name(), std::move(token));
}

Task<std::optional<std::string>> load(SecretStoring& secrets) {
  auto token = co_await secrets.load(name());
  if (token && !Text::isUTF8(*token)) token.reset();
  co_return token;
}

Task<> clear(SecretStoring& secrets) {
  co_await secrets.remove(name());
}

}  // namespace quillant::TokenStore
