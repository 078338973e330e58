#include <gtest/gtest.h>

#include "QuillantCloud/APIError.h"
#include "QuillantCloud/AuthFlow.h"
#include "QuillantCloud/QuillantConfig.h"
#include "QuillantCloud/TokenStore.h"
#include "Tests/QuillantCloud/CloudFakes.h"

namespace quillant {
namespace {

class ScriptedPage : public WebAuthenticating {
 public:
  std::variant<std::optional<std::string>, WebAuthenticationError> outcome;
  std::string asked;

  Task<std::optional<std::string>> authenticate(std::string url, std::string callbackScheme) override {
    asked = url + " " + callbackScheme;
    if (const auto* error = std::get_if<WebAuthenticationError>(&outcome))
      throw WebAuthenticationError(*error);
    co_return std::get<std::optional<std::string>>(outcome);
  }
};

/// What a sign-in over `page` ends with: the error's text, or the account's address.
std::string login(ScriptedPage& page, MemorySecrets& secrets, std::shared_ptr<ScriptedHttpClient> http) {
  try {
    return runBlocking(AuthFlow::login(page, secrets, http)).email;
  } catch (const Error& error) {
    return error.description();
  }
}

TEST(AuthFlow, TakesTheFirstTokenOfACallback) {
  const std::vector<std::pair<std::string, std::string>> good = {
      {"quillant://auth?token=abc", "abc"},
      {"quillant://auth?foo=1&token=a&token=b", "a"},
      {"quillant:whatever/path?token=a%2Bb%2F%3D+c#rest", "a+b/=+c"},
      {"quillant://auth?x=%26token=no&token=yes", "yes"},
  };
  for (const auto& [callback, token] : good) EXPECT_EQ(AuthFlow::extractToken(callback), token);

  const std::string noToken = "callback did not contain a token";
  const std::vector<std::pair<std::string, std::string>> bad = {
      {"quillant://auth", noToken},
      {"quillant://auth?token", noToken},
      {"quillant://auth?token=", noToken},
      {"quillant://auth?token=&token=a", noToken},
      {"quillant://auth?Token=a", noToken},
      {"not a callback", "invalid callback URL: not a callback"},
      {"quillant://auth?token=se cret", "invalid callback URL: quillant://auth?token=…"},
      {"quillant://auth?token=a%0D%0AHost:%20evil", "invalid callback URL: quillant://auth?token=…"},
  };
  for (const auto& [callback, text] : bad) {
    try {
      AuthFlow::extractToken(callback);
      ADD_FAILURE() << callback;
    } catch (const AuthError& error) {
      EXPECT_EQ(error.description(), text);
    }
  }
}

TEST(AuthFlow, TellsACancelFromAFailureAndKeepsTheTokenFromBefore) {
  using Kind = WebAuthenticationError::Kind;
  const std::vector<std::pair<decltype(ScriptedPage::outcome), std::string>> cases = {
      {WebAuthenticationError(Kind::cancelled, "closed"), "sign-in cancelled"},
      {WebAuthenticationError(Kind::timedOut, "nobody signed in within 5 minutes"),
       "sign-in failed: nobody signed in within 5 minutes"},
      {WebAuthenticationError(Kind::failed, "socket gone"), "sign-in failed: socket gone"},
      {WebAuthenticationError(Kind::presentation, "no browser"),
       "could not present sign-in window: no browser"},
      {std::nullopt, "callback did not contain a token"},
  };
  MemorySecrets secrets;
  runBlocking(TokenStore::save(secrets, "old"));
  for (const auto& [outcome, text] : cases) {
    ScriptedPage page;
    page.outcome = outcome;
    EXPECT_EQ(login(page, secrets, std::make_shared<ScriptedHttpClient>()), text);
    EXPECT_EQ(runBlocking(TokenStore::load(secrets)), "old");
  }
}

TEST(AuthFlow, StoresTheTokenBeforeItAsksWhoseItIs) {
  MemorySecrets secrets;
  ScriptedPage page;
  page.outcome = std::optional<std::string>("quillant://auth?token=new");
  const auto http = std::make_shared<ScriptedHttpClient>();
  http->answer(503, "");
  EXPECT_EQ(login(page, secrets, http), "server error 503");
  EXPECT_EQ(runBlocking(TokenStore::load(secrets)), "new");
  EXPECT_EQ(page.asked, QuillantConfig::baseURL().text() + "/auth/google?from=desktop quillant");

  runBlocking(TokenStore::clear(secrets));
  EXPECT_EQ(runBlocking(TokenStore::load(secrets)), std::nullopt);
  runBlocking(TokenStore::save(secrets, "\xFF\xFE"));
  EXPECT_EQ(runBlocking(TokenStore::load(secrets)), std::nullopt) << "no text was ever stored like that";
}

}  // namespace
}  // namespace quillant
