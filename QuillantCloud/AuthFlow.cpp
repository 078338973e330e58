#include "QuillantCloud/AuthFlow.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillantCloud/QuillantAPI.h"
#include "QuillantCloud/QuillantConfig.h"
#include "QuillantCloud/TokenStore.h"

namespace quillant::AuthFlow {

namespace {

AuthError asAuthError(const WebAuthenticationError& error) {
  switch (error.kind()) {
    case WebAuthenticationError::Kind::presentation:
      return AuthError(AuthError::Kind::presentation, error.description());
    case WebAuthenticationError::Kind::cancelled:
      return AuthError(AuthError::Kind::cancelled);
    case WebAuthenticationError::Kind::timedOut:
    case WebAuthenticationError::Kind::failed:
      break;
  }
  return AuthError(AuthError::Kind::underlying, error.description());
}

bool isControlCharacter(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

/// The callback as an error may show it.
std::string withoutToken(const std::string& callback) {
  constexpr std::string_view key = "token=";
  const auto position = callback.find(key);
  return position == std::string::npos ? callback : callback.substr(0, position + key.size()) + "…";
}

/// What the page answers for a user who said no.
bool wasDeclined(const std::string& callback) {
  const auto url = URL::parse(callback);
  const auto items = url ? url->queryItems() : std::vector<URL::QueryItem>();
  return std::find(items.begin(), items.end(), URL::QueryItem("error", "access_denied")) != items.end();
}

Task<std::string> tokenFromPage(WebAuthenticating& page) {
  std::optional<std::string> callback;
  try {
    callback = co_await page.authenticate(authURL().text(), std::string(QuillantConfig::callbackScheme));
  } catch (const WebAuthenticationError& error) {
    throw asAuthError(error);
  }
  if (!callback) throw AuthError(AuthError::Kind::noToken);
  if (wasDeclined(*callback)) throw AuthError(AuthError::Kind::cancelled);
  co_return extractToken(*callback);
}

}  // namespace

URL authURL() {
  auto url = QuillantConfig::baseURL().appendingPath("auth/google");
  url.query = "from=desktop";
  return url;
}

Task<Me> login(WebAuthenticating& page, SecretStoring& secrets, std::shared_ptr<HttpClient> http) {
  const auto token = co_await tokenFromPage(page);
  co_await TokenStore::save(secrets, token);
  co_return co_await confirm(token, std::move(http));
}

Task<Me> confirm(std::string token, std::shared_ptr<HttpClient> http) {
  const QuillantAPI api(std::move(token), std::move(http));
  co_return co_await api.me();
}

std::string extractToken(const std::string& callback) {
  const auto url = URL::parse(callback);
  if (!url) throw AuthError(AuthError::Kind::invalidCallback, withoutToken(callback));
  const auto items = url->queryItems();
  const auto token =
      std::find_if(items.begin(), items.end(), [](const auto& item) { return item.first == "token"; });
  if (token == items.end() || token->second.value_or("").empty()) throw AuthError(AuthError::Kind::noToken);
  // Decoded line breaks would add header lines of the caller's choice to every request.
  if (std::any_of(token->second->begin(), token->second->end(), isControlCharacter))
    throw AuthError(AuthError::Kind::invalidCallback, withoutToken(callback));
  return *token->second;
}

}  // namespace quillant::AuthFlow
