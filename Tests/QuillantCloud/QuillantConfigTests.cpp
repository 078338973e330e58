#include <cstdlib>
#include <gtest/gtest.h>

#include "QuillantCloud/QuillantConfig.h"

namespace quillant {
namespace {

class QuillantConfigTest : public testing::Test {
 protected:
  void SetUp() override { clear(); }
  void TearDown() override { clear(); }

  static void clear() {
    unsetenv("QUILLANT_BASE_URL");
    unsetenv("QUILLANT_PROFILE");
    QuillantConfig::profileOverride.reset();
  }
  static std::string production() { return QuillantConfig::productionURL().host(); }
};

TEST_F(QuillantConfigTest, TakesTheServiceFromTheEnvironmentIfThatIsAnAddress) {
  const auto built = QuillantConfig::productionURL().text();
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"http://127.0.0.1:4180", "http://127.0.0.1:4180"},
      {"https://x.test/a///", "https://x.test/a"},
      {"", built},
      {"///", built},
      {"not an address", built},
  };
  for (const auto& [value, expected] : cases) {
    setenv("QUILLANT_BASE_URL", value.c_str(), 1);
    EXPECT_EQ(QuillantConfig::baseURL().text(), expected) << value;
  }
}

TEST_F(QuillantConfigTest, NamesTheProfileAfterTheServicesHost) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"https://" + production() + ":8443/p", "prod"},
      {"https://API." + production(), "prod"},
      {"https://evil" + production(), "dev"},
      {"https://" + production() + ".evil.test", "dev"},
      {"https://evil.test/" + production(), "dev"},
      {"https://u@" + production() + "@evil.test", "dev"},
      {"http://localhost:3000", "dev"},
      {"just/a/path", "dev"},
  };
  for (const auto& [value, expected] : cases) {
    setenv("QUILLANT_BASE_URL", value.c_str(), 1);
    EXPECT_EQ(QuillantConfig::scope(), expected) << value;
  }
  unsetenv("QUILLANT_BASE_URL");
  EXPECT_EQ(QuillantConfig::scope(), "prod");
}

TEST_F(QuillantConfigTest, KeepsOfAProfilesNameWhatAFileNameMayHold) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"My Team_2-B", "myteam2-b"}, {"../../etc", "etc"}, {"...", "dev"},
      {"Équipe", "équipe"},         {"Ж١½", "ж١½"},       {std::string(40, 'A'), std::string(32, 'a')},
  };
  for (const auto& [value, expected] : cases) {
    setenv("QUILLANT_PROFILE", value.c_str(), 1);
    EXPECT_EQ(QuillantConfig::scope(), expected) << value;
  }
  QuillantConfig::profileOverride = "";
  EXPECT_EQ(QuillantConfig::scope(), std::string(32, 'a')) << "an empty one asks for nothing";
  QuillantConfig::profileOverride = "Work";
  EXPECT_EQ(QuillantConfig::keychainAccount(), "desktop-token-work");
  EXPECT_EQ(QuillantConfig::pendingUploadsDirectory().filename(), "pending-uploads-work");
}

TEST(URL, KeepsTheBasesPathAndQueryWhenItGrows) {
  const std::vector<std::array<std::string, 3>> cases = {
      {"https://x.test", "/api/uploads", "https://x.test/api/uploads"},
      {"https://x.test/base/", "api/me", "https://x.test/base/api/me"},
      {"https://x.test/b?k=v", "api/me", "https://x.test/b/api/me?k=v"},
      {"https://x.test", "videos/a b?c#d%2F/é", "https://x.test/videos/a%20b%3Fc%23d%252F/%C3%A9"},
  };
  for (const auto& [base, component, expected] : cases)
    EXPECT_EQ(URL::parse(base)->appendingPath(component).text(), expected);
}

TEST(URL, RefusesWhatIsNoAddress) {
  for (const auto* text :
       {"", "a b", "http://x/\n", "http://x/%zz", "http://x/%2", "1http://x", "é", ":x", "x?a^b"})
    EXPECT_FALSE(URL::parse(text)) << text;
  for (const auto* text :
       {"http://[::1]:80/a?b=c/?#d", "quillant://auth?token=a%2Bb", "relative/path", "mailto:x"})
    EXPECT_EQ(URL::parse(text)->text(), text);
  EXPECT_EQ(URL::parse("http://u:p@[::1]:80/")->host(), "[::1]");
}

}  // namespace
}  // namespace quillant
