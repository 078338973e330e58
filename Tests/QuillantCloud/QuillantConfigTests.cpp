#include <array>
#include <cstdlib>
#include <gtest/gtest.h>

#include "Core/Environment.h"
#include "QuillantCloud/ConfigError.h"
#include "QuillantCloud/QuillantConfig.h"

namespace quillant {
namespace {

/// A value of an environment variable, and what comes of it.
using Cases = std::vector<std::pair<std::string, std::string>>;

class QuillantConfigTest : public testing::Test {
 protected:
  ~QuillantConfigTest() override {
    unsetenv("QUILLANT_BASE_URL");
    unsetenv("QUILLANT_PROFILE");
    QuillantConfig::profileOverride.reset();
  }
};

TEST_F(QuillantConfigTest, TakesServiceAndProfileFromTheEnvironment) {
  const auto built = QuillantConfig::productionURL().text();
  for (const auto& [value, expected] : Cases{{"http://127.0.0.1:4180", "http://127.0.0.1:4180"},
                                             {"https://x.test/a///", "https://x.test/a"},
                                             {"", built},
                                             {"///", built},
                                             {"x.test/a", built},
                                             {"http://localhost:80", "http://localhost:80"},
                                             {"http://[::1]", "http://[::1]"},
                                             {"HTTPS://x.test", "HTTPS://x.test"}}) {
    setenv("QUILLANT_BASE_URL", value.c_str(), 1);
    EXPECT_EQ(QuillantConfig::baseURL().text(), expected) << value;
  }
  for (const auto* insecure : {"http://x.test", "http://127.0.0.1.x.test", "http://128.0.0.1", "http://[::2]",
                               "http://127.0.0.1@x.test", "localhost:80", "https:", "ftp://x.test"}) {
    setenv("QUILLANT_BASE_URL", insecure, 1);
    EXPECT_THROW(QuillantConfig::baseURL(), ConfigError) << insecure;
  }
  unsetenv("QUILLANT_BASE_URL");
  EXPECT_EQ(QuillantConfig::scope(), "prod");
  const auto production = QuillantConfig::productionURL().host();
  for (const auto& [value, expected] : Cases{{"https://" + production + ":8443/p", "prod"},
                                             {"https://API." + production, "prod"},
                                             {"https://evil" + production, "dev"},
                                             {"https://" + production + ".evil.test", "dev"},
                                             {"https://evil.test/" + production, "dev"},
                                             {"https://" + production + "@evil.test", "dev"}}) {
    setenv("QUILLANT_BASE_URL", value.c_str(), 1);
    EXPECT_EQ(QuillantConfig::scope(), expected) << value;
  }
  for (const auto& [value, expected] : Cases{{"My Team_2-B", "myteam2-b"},
                                             {"../../etc", "etc"},
                                             {"...", "dev"},
                                             {"Équipe Ж١½", "équipeж١½"},
                                             {std::string(40, 'A'), std::string(32, 'a')}}) {
    setenv("QUILLANT_PROFILE", value.c_str(), 1);
    EXPECT_EQ(QuillantConfig::scope(), expected) << value;
  }
  QuillantConfig::profileOverride = "";
  EXPECT_EQ(QuillantConfig::scope(), std::string(32, 'a')) << "an empty one asks for nothing";
  QuillantConfig::profileOverride = "Work";
  EXPECT_EQ(QuillantConfig::keychainAccount(), "desktop-token-work");
  EXPECT_EQ(QuillantConfig::pendingUploadsDirectory().filename(), "pending-uploads-work");
}

TEST_F(QuillantConfigTest, KeepsNothingInTheWorkingFolder) {
  const auto home = Environment::value("HOME");
  setenv("XDG_DATA_HOME", "relative", 1);
  EXPECT_EQ(QuillantConfig::supportDirectory(), home + "/.local/share/Quillant");
  for (const auto* none : {"", "relative"}) {
    setenv("HOME", none, 1);
    EXPECT_THROW(QuillantConfig::supportDirectory(), ConfigError);
  }
  setenv("XDG_DATA_HOME", "/data", 1);
  EXPECT_EQ(QuillantConfig::supportDirectory(), "/data/Quillant");
  setenv("HOME", home.c_str(), 1);
  unsetenv("XDG_DATA_HOME");
}

TEST(URL, KeepsItsPartsWhenItGrowsAndRefusesWhatIsNoAddress) {
  for (const auto& [base, component, expected] : std::vector<std::array<std::string, 3>>{
           {"https://x.test", "/api/uploads", "https://x.test/api/uploads"},
           {"https://x.test/base/", "api/me", "https://x.test/base/api/me"},
           {"https://x.test/b?k=v", "api/me", "https://x.test/b/api/me?k=v"},
           {"https://x.test", "videos/a b?c#d%2F/é", "https://x.test/videos/a%20b%3Fc%23d%252F/%C3%A9"}})
    EXPECT_EQ(URL::parse(base)->appendingPath(component).text(), expected);
  for (const auto* text :
       {"", "a b", "http://x/\n", "http://x/%zz", "http://x/%2", "1http://x", "é", ":x", "x:?a^b", "x/y",
        "http://h:port", "http://h:65536", "http://[::1", "http://[::g]", "http://::1", "http://a@b@c"})
    EXPECT_FALSE(URL::parse(text)) << text;
  for (const auto* text : {"http://u:p@[::1]:80/a?b=c/?#d", "quillant://auth?token=a%2Bb", "mailto:x"})
    EXPECT_EQ(URL::parse(text)->text(), text);
  EXPECT_EQ(URL::parse("http://u:p@[::1]:80/")->host(), "[::1]");
}

}  // namespace
}  // namespace quillant
