#include <algorithm>
#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <memory>

#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

/// A session bus on which nothing is started by itself.
constexpr const char* busConfiguration = R"(
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><policy context="default">
<allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy></busconfig>)";

const std::string notice = "notice: No keyring answers here. The secret is kept in ";

/// A user's session, with a home of its own.
class LinuxSecretStoreTest : public testing::Test {
 protected:
  void startBus() {
    const auto configuration = (home / "bus.conf").string();
    std::ofstream(configuration) << busConfiguration;
    bus = std::make_unique<ChildProcess>(
        std::vector<std::string>{"dbus-daemon", "--config-file=" + configuration, "--nofork", "--nopidfile",
                                 "--print-address"},
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
    ASSERT_TRUE(eventually([this] {
      return ChildProcess({"dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.secrets",
                           "/org/freedesktop/secrets", "org.freedesktop.DBus.Peer.Ping"},
                          environment)
                 .wait() == 0;
    }));
  }

  /// Runs one operation in a process of its own, and checks what it says, or how that begins.
  void expect(const std::string& operation, const std::string& account, const std::string& said,
              const std::string& secret = {}) const {
    ChildProcess probe({QUILLANT_PROBE, folder.string(), account, operation}, environment);
    probe.write(secret + "\n");
    EXPECT_THAT(probe.readAll(), testing::StartsWith(said)) << operation << " " << account;
  }

  /// Whether a secret lies in a file: there may be notes, which are empty.
  bool hasFiles() const {
    const std::filesystem::directory_iterator files(folder);
    return std::any_of(begin(files), end(files), [](const auto& file) { return file.file_size() > 0; });
  }

  TemporaryFolder home;
  std::filesystem::path folder = home / "data" / "secrets";
  ChildProcess::Environment environment{{"HOME", home.path()},
                                        {"XDG_RUNTIME_DIR", home.path()},
                                        {"XDG_DATA_HOME", home / "data"},
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
    expect("load", "a", "nothing\n");
    expect("store", "a", notice, "first");
    expect("store", "a", "stored\n", "second");
    expect("load", "a", "found: second\n");
    expect("load", "b", "nothing\n");
    expect("remove", "a", "removed\n");
    expect("remove", "a", "removed\n");
    expect("load", "a", "nothing\n");
  }
}

TEST_F(LinuxSecretStoreTest, KeepsSecretsInTheKeyringAndNowhereElse) {
  startBus();
  startKeyring(true);
  expect("load", "a", "nothing\n");
  expect("store", "a", "stored\n", "first");
  expect("store", "a", "stored\n", "second");
  expect("store", "b", "stored\n", "other");
  expect("load", "a", "found: second\n");
  EXPECT_FALSE(hasFiles());
  expect("remove", "a", "removed\n");
  expect("load", "a", "nothing\n");
  expect("load", "b", "found: other\n");
  // A file counts until the keyring takes the secret: one that hangs or is gone counts as none.
  keyring->signal(SIGSTOP);
  expect("remove", "b", "error: keyring error 113: the keyring that keeps the secret does not answer here");
  expect("store", "b", notice, "in a file");
  expect("load", "b", "found: in a file\n");
  startKeyring(true);
  expect("load", "b", "found: in a file\n");
  expect("store", "b", "stored\n", "newest");
  EXPECT_FALSE(hasFiles());
  expect("load", "b", "found: newest\n");
  expect("remove", "b", "removed\n");
  keyring->signal(SIGSTOP);
  expect("remove", "b", "removed\n");
}

TEST_F(LinuxSecretStoreTest, ALockedKeyringIsToldFromNone) {
  startBus();
  startKeyring(true);
  expect("store", "a", "stored\n", "locked away");
  startKeyring(false);
  // Without a display nobody can be asked to unlock it. What is in it cannot be removed, which must be said.
  expect("load", "a", "nothing\n");
  expect("store", "b", notice, "x");
  expect("remove", "a", "error: keyring error 13: the keyring is locked");
  // With one, somebody was asked and did not unlock it: that is no reason to write a secret to a file.
  environment["DISPLAY"] = ":4242";
  expect("load", "a", "error: keyring error 13: the keyring is locked");
  expect("store", "c", "error: keyring error ", "x");
  startKeyring(true);
  expect("load", "a", "found: locked away\n");
}

}  // namespace
}  // namespace quillant
