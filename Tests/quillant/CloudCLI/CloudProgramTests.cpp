#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/FakeService/FakeService.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

/// What ends the wait at the prompt, and what the program says then.
struct Ending {
  std::string name;
  std::function<void(ChildProcess&)> end;
  std::string said;
  int code;
};

TEST(CloudProgram, SignsInByAPastedAddressAndTellsACancel) {
  TemporaryFolder folder;
  FakeService service({.folder = folder / "service"});
  const auto token = LoopbackText::percentEncoded(service.signIn());
  const std::string cancelled = "quillant: login failed: sign-in cancelled";
  const std::vector<Ending> endings = {
      {"pasted", [&](auto& child) { child.write("  quillant://auth?token=" + token + " \n"); },
       "Signed in as dev@example.com (free) [profile: dev]", 0},
      {"lost", [](auto& child) { child.write("quillant://auth?code=1\n"); },
       "quillant: login failed: callback did not contain a token", 70},
      {"declined", [](auto& child) { child.write("quillant://auth?error=access_denied\n"); }, cancelled, 70},
      {"empty", [](auto& child) { child.write("\n"); }, cancelled, 70},
      {"closed", [](auto& child) { child.closeInput(); }, cancelled, 70},
      {"interrupted", [](auto& child) { child.signal(SIGINT); }, cancelled, 70},
  };
  for (const auto& ending : endings) {
    ChildProcess child({QUILLANT_DYING_CLIENT, "login"},
                       {{"QUILLANT_BASE_URL", service.origin()}, {"QUILLANT_PROFILE", std::nullopt}});
    EXPECT_TRUE(child.readLineWith("  " + service.origin() + "/auth/google?from=desktop")) << ending.name;
    ending.end(child);
    const auto said = child.readAll();
    EXPECT_THAT(said, testing::EndsWith(ending.said + "\n")) << ending.name;
    EXPECT_THAT(said, testing::Not(testing::HasSubstr(token)));
    EXPECT_EQ(child.wait(), ending.code) << ending.name;
  }
}

TEST(CloudProgram, WritesSizesAsItsUserReadsThem) {
  TemporaryFolder folder;
  FakeService service({.folder = folder / "service"});
  const auto video = folder / "talk.mp4";
  std::ofstream(video) << std::string(1'540'000, 'v');
  ChildProcess child({QUILLANT_DYING_CLIENT, "upload", video}, {{"QUILLANT_BASE_URL", service.origin()},
                                                                {"QUILLANT_PROFILE", std::nullopt},
                                                                {"XDG_DATA_HOME", folder / "data"},
                                                                {"TEST_TOKEN", service.signIn()},
                                                                {"TEST_POSTER", video},
                                                                {"LC_ALL", "de_DE.UTF-8"}});
  EXPECT_TRUE(child.readLineWith("uploading video (1,5 MB)…"));
  EXPECT_EQ(child.wait(), 0);
}

}  // namespace
}  // namespace quillant
