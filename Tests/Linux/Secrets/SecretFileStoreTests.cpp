#include <fstream>
#include <gtest/gtest.h>

#include "Linux/Secrets/SecretFileStore.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

using std::filesystem::perms;

const SecretName name{"com.quillant.desktop", "desktop-token-prod"};

perms permissions(const std::filesystem::path& path) {
  return std::filesystem::status(path).permissions();
}

TEST(SecretFileStore, LetsNobodyElseRead) {
  const TemporaryFolder home;
  const SecretFileStore store(home / "data" / "secrets");
  EXPECT_TRUE(store.store(name, "token"));
  EXPECT_EQ(permissions(home / "data" / "secrets"), perms(0700));
  EXPECT_EQ(permissions(store.path(name)), perms(0600));
  // What was opened up since is closed again before it is used.
  std::filesystem::permissions(home / "data" / "secrets", perms(0755));
  std::filesystem::permissions(store.path(name), perms(0644));
  EXPECT_EQ(store.load(name), "token");
  EXPECT_EQ(permissions(home / "data" / "secrets"), perms(0700));
  EXPECT_EQ(permissions(store.path(name)), perms(0600));
}

TEST(SecretFileStore, RefusesWhatIsNotItsOwnFile) {
  const TemporaryFolder home;
  const SecretFileStore store(home / "secrets");
  std::filesystem::create_directory(home / "elsewhere");
  std::filesystem::create_directory_symlink(home / "elsewhere", home / "secrets");
  EXPECT_THROW(store.store(name, "token"), SecretStoreError);
  EXPECT_TRUE(std::filesystem::is_empty(home / "elsewhere"));

  std::filesystem::remove(home / "secrets");
  std::filesystem::create_directory(home / "secrets");
  std::ofstream(home / "planted") << "someone else's token";
  std::filesystem::create_symlink(home / "planted", store.path(name));
  EXPECT_THROW(store.load(name), SecretStoreError);
  EXPECT_FALSE(store.store(name, "token"));
  EXPECT_EQ(store.load(name), "token");
}

TEST(SecretFileStore, GivesEachNameAFileOfItsOwnInItsFolder) {
  const TemporaryFolder home;
  const SecretFileStore store(home / "secrets");
  const SecretName names[] = {{"a", "b"}, {"a_b", ""}, {"a", "B"}, {"..", "/../x"}, {"a", "ü"}, {"a", "%62"}};
  for (const auto& each : names) EXPECT_TRUE(store.store(each, each.service + "|" + each.account));
  for (const auto& each : names) {
    EXPECT_EQ(store.load(each), each.service + "|" + each.account);
    EXPECT_EQ(store.path(each).parent_path(), home / "secrets");
  }
}

}  // namespace
}  // namespace quillant
