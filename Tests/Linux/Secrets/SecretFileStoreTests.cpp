#include <fstream>
#include <gtest/gtest.h>

#include "Linux/Secrets/SecretFileStore.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

using std::filesystem::permissions;
using std::filesystem::perms;

TEST(SecretFileStore, LetsNobodyElseReadAndGivesEachNameAFileOfItsOwn) {
  const TemporaryFolder home;
  const auto folder = home / "data" / "secrets";
  const SecretFileStore store(folder);
  const auto expectPrivate = [](const std::filesystem::path& path, perms wanted) {
    EXPECT_EQ(std::filesystem::status(path).permissions(), wanted) << path;
  };
  const SecretName names[] = {{"a", "b"}, {"a_b", ""}, {"a", "B"}, {"..", "/../x"}, {"a", "ü"}, {"a", "%62"}};
  for (const auto& name : names) EXPECT_TRUE(store.store(name, name.service + "|" + name.account));
  expectPrivate(folder, perms(0700));
  for (const auto& name : names) {
    expectPrivate(store.path(name), perms(0600));
    EXPECT_EQ(store.path(name).parent_path(), folder);
    // What was opened up since is closed again before it is used.
    permissions(folder, perms(0755));
    permissions(store.path(name), perms(0644));
    EXPECT_EQ(store.load(name), name.service + "|" + name.account);
    expectPrivate(folder, perms(0700));
    expectPrivate(store.path(name), perms(0600));
  }
}

TEST(SecretFileStore, RemovesWhatAKilledProcessLeftToo) {
  const TemporaryFolder home;
  const SecretFileStore store(home / "secrets");
  const SecretName name{"service", "account"};
  store.store(name, "token");
  std::ofstream(home / "secrets" / ("." + store.path(name).filename().string() + ".XyZ123")) << "token";
  store.remove(name);
  EXPECT_TRUE(std::filesystem::is_empty(home / "secrets"));
}

TEST(SecretFileStore, RefusesWhatIsNotItsOwnFile) {
  const TemporaryFolder home;
  const SecretFileStore store(home / "secrets");
  const SecretName name{"service", "account"};
  std::filesystem::create_directory(home / "elsewhere");
  std::filesystem::create_directory_symlink(home / "elsewhere", home / "secrets");
  EXPECT_THROW(store.store(name, "token"), SecretStoreError);
  EXPECT_TRUE(std::filesystem::is_empty(home / "elsewhere"));

  std::filesystem::remove(home / "secrets");
  std::filesystem::create_directory_symlink("secrets", home / "secrets");
  EXPECT_THROW(store.load(name), SecretStoreError) << "what cannot be looked at is not nothing";
  std::filesystem::remove(home / "secrets");
  std::filesystem::create_directory(home / "secrets");
  std::ofstream(home / "planted") << "someone else's token";
  std::filesystem::create_symlink(home / "planted", store.path(name));
  EXPECT_THROW(store.load(name), SecretStoreError);
  EXPECT_FALSE(store.store(name, "token"));
  EXPECT_EQ(store.load(name), "token");
}

}  // namespace
}  // namespace quillant
