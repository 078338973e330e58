#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

using testing::HasSubstr;

/// A session bus on which nothing is started by itself.
constexpr const char* busConfiguration = R"(
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><policy context="default">
<allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy></busconfig>)";

/// A user's session, with a home of its own.
class LinuxSecretStoreTest : public testing::Test {
 protected:
  void startBus() {
    const auto configuration = home / "bus.conf";
    std::ofstream(configuration) << busConfiguration;
    bus = std::make_unique<ChildProcess>(
        std::vector<std::string>{"dbus-daemon", "--config-file=" + configuration.string(), "--nofork",
                                 "--nopidfile", "--print-address"},
        environment);
    const auto address = bus->readLineWith("unix:");
    ASSERT_TRUE(address);
    environment["DBUS_SESSION_BUS_ADDRESS"] = *address;
  }

  void startKeyring(bool unlocked) {
    std::vector<std::string> command{"gnome-keyring-daemon", "--foreground", "--components=secrets"};
    if (unlocked) command.emplace_back("--unlock");
    keyring.reset();
    keyring = std::make_unique<ChildProcess>(command, environment);
    if (unlocked) keyring->write("\n");  // the password is empty
    keyring->closeInput();
    const auto isThere = [this] {
      return ChildProcess({"dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.secrets",
                           "/org/freedesktop/secrets", "org.freedesktop.DBus.Peer.Ping"},
                          environment)
                 .wait() == 0;
    };
    ASSERT_TRUE(eventually(isThere));
  }

  std::string run(const std::string& operation, const std::string& account,
                  const std::string& secret = {}) const {
    ChildProcess probe({QUILLANT_PROBE, folder.string(), account, operation}, environment);
    probe.write(secret + "\n");
    return probe.readAll();
  }

  bool hasFiles() const { return std::filesystem::exists(folder) && !std::filesystem::is_empty(folder); }

  TemporaryFolder home;
  std::filesystem::path folder = home / "data" / "secrets";
  ChildProcess::Environment environment{{"HOME", home.path().string()},
                                        {"XDG_RUNTIME_DIR", home.path().string()},
                                        {"XDG_DATA_HOME", (home / "data").string()},
                                        {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (home / "none").string()},
                                        {"DISPLAY", std::nullopt},
                                        {"WAYLAND_DISPLAY", std::nullopt}};
  std::unique_ptr<ChildProcess> bus;
  std::unique_ptr<ChildProcess> keyring;
};

TEST_F(LinuxSecretStoreTest, KeepsSecretsInFilesWhereNoKeyringAnswersAndSaysSoOnce) {
  for (const bool withBus : {false, true}) {
    SCOPED_TRACE(withBus);
    if (withBus) startBus();
    EXPECT_EQ(run("load", "a"), "nothing\n");
    EXPECT_THAT(run("store", "a", "first"),
                HasSubstr("notice: No keyring answers here. The secret is kept in "));
    EXPECT_EQ(run("store", "a", "second"), "stored\n");
    EXPECT_EQ(run("load", "a"), "found: second\n");
    EXPECT_EQ(run("load", "b"), "nothing\n");
    EXPECT_EQ(run("remove", "a"), "removed\n");
    EXPECT_EQ(run("remove", "a"), "removed\n");
    EXPECT_EQ(run("load", "a"), "nothing\n");
  }
}

TEST_F(LinuxSecretStoreTest, KeepsSecretsInTheKeyringAndNowhereElse) {
  startBus();
  startKeyring(true);
  EXPECT_EQ(run("load", "a"), "nothing\n");
  EXPECT_EQ(run("store", "a", "first"), "stored\n");
  EXPECT_EQ(run("store", "a", "second"), "stored\n");
  EXPECT_EQ(run("store", "b", "other"), "stored\n");
  EXPECT_EQ(run("load", "a"), "found: second\n");
  EXPECT_FALSE(hasFiles());
  EXPECT_EQ(run("remove", "a"), "removed\n");
  EXPECT_EQ(run("load", "a"), "nothing\n");
  EXPECT_EQ(run("load", "b"), "found: other\n");
}

TEST_F(LinuxSecretStoreTest, AFileCountsUntilTheKeyringTakesTheSecret) {
  startBus();
  startKeyring(true);
  run("store", "a", "in the keyring");
  keyring.reset();
  run("store", "a", "in a file");
  startKeyring(true);
  EXPECT_EQ(run("load", "a"), "found: in a file\n");
  EXPECT_EQ(run("store", "a", "newest"), "stored\n");
  EXPECT_FALSE(hasFiles());
  EXPECT_EQ(run("load", "a"), "found: newest\n");
}

TEST_F(LinuxSecretStoreTest, ALockedKeyringIsToldFromNone) {
  startBus();
  startKeyring(true);
  run("store", "a", "locked away");
  startKeyring(false);
  // Without a display nobody can be asked to unlock it. What is in it cannot be removed, and that must be
  // said.
  EXPECT_EQ(run("load", "a"), "nothing\n");
  EXPECT_THAT(run("store", "b", "x"), HasSubstr("notice: "));
  EXPECT_THAT(run("remove", "a"), HasSubstr("the keyring is locked"));
  // With one, somebody was asked and did not unlock it: that is no reason to write a secret to a file.
  environment["DISPLAY"] = ":4242";
  EXPECT_THAT(run("load", "a"), HasSubstr("the keyring is locked"));
  EXPECT_THAT(run("store", "c", "x"), HasSubstr("error: keychain error "));
  startKeyring(true);
  EXPECT_EQ(run("load", "a"), "found: locked away\n");
}

TEST_F(LinuxSecretStoreTest, AKeyringThatHangsCountsAsNone) {
  startBus();
  startKeyring(true);
  keyring->signal(SIGSTOP);
  EXPECT_THAT(run("store", "a", "in a file"), HasSubstr("notice: "));
  EXPECT_EQ(run("load", "a"), "found: in a file\n");
}

}  // namespace
}  // namespace quillant
