#include <gtest/gtest.h>
#include <vector>

#include "QuillantCloud/AuthFlow.h"

namespace quillant {
namespace {

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

}  // namespace
}  // namespace quillant
