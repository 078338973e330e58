#include <gtest/gtest.h>

#include "QuillantCloud/AuthFlow.h"

namespace quillant {
namespace {

TEST(AuthFlow, TakesTheFirstTokenOfACallback) {
  const std::string none = "callback did not contain a token";
  const std::string invalid = "invalid callback URL: ";
  const std::pair<std::string, std::string> cases[] = {
      {"quillant://auth?foo=1&token=a&token=b", "a"},
      {"quillant:whatever/path?token=a%2Bb%2F%3D+c#rest", "a+b/=+c"},
      {"quillant://auth?x=%26token=no&token=yes", "yes"},
      {"quillant://auth", none},
      {"quillant://auth?token=", none},
      {"quillant://auth?token=&token=a", none},
      {"not a callback", invalid + "not a callback"},
      {"quillant://auth?token=se cret", invalid + "quillant://auth?token=…"},
      {"quillant://auth?token=a%0D%0AHost:%20evil", invalid + "quillant://auth?token=…"},
  };
  for (const auto& [callback, expected] : cases) {
    std::string result;
    try {
      result = AuthFlow::extractToken(callback);
    } catch (const AuthError& error) {
      result = error.description();
    }
    EXPECT_EQ(result, expected);
  }
}

}  // namespace
}  // namespace quillant
