#pragma once

#include <atomic>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <mutex>
#include <regex>

#include "Core/Environment.h"
#include "Core/JSON.h"
#include "Core/Text.h"
#include "Linux/Secrets/SecretFileStore.h"
#include "QuillantCloud/PendingUploadStore.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/quillant/QuillantRun.h"
#include "tools/FakeService/FakeService.h"

namespace quillant {

/// The program itself and a real server, with a home of its own, no keyring, and a desktop that has only a
/// clipboard.
class CloudProgramTest : public testing::Test {
 protected:
  using Step = FakeServiceStep;
  using Lines = std::vector<std::string>;

  CloudProgramTest() {
    TestRecording{}.write(video);
    std::filesystem::resize_file(video, 1'540'000);
    std::ofstream(folder / "xclip") << "#!/bin/sh\nprintf '%s|' \"$(cat)\" >> '" << clipboard.string()
                                    << "'\n";
    std::filesystem::permissions(folder / "xclip", std::filesystem::perms(0755));
  }

  ChildProcess::Environment environment(const std::string& die = {}) const {
    return {{"QUILLANT_BASE_URL", service.origin()},
            {"QUILLANT_PROFILE", std::nullopt},
            {"HOME", folder.path()},
            {"XDG_DATA_HOME", data},
            {"XDG_CONFIG_HOME", folder.path()},
            {"XDG_CURRENT_DESKTOP", ""},
            {"BROWSER", "false"},
            {"XDG_RUNTIME_DIR", folder.path()},
            {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (folder / "none").string()},
            {"PATH", folder.path().string() + ":" + Environment::value("PATH")},
            {"DISPLAY", hasDesktop ? std::optional<std::string>(":4242") : std::nullopt},
            {"WAYLAND_DISPLAY", std::nullopt},
            {"LC_ALL", locale},
            {"LD_PRELOAD", QUILLANT_KILL_AT_ENTRY},
            {"ASAN_OPTIONS", "verify_asan_link_order=0"},
            {"TEST_DIE", die}};
  }
  /// Runs a command to its end, or to its death.
  QuillantRun::Result run(const std::string& command, const std::string& die = {}) {
    Lines words;
    const auto text = filled(command);
    for (const auto word : Text::words(text)) words.emplace_back(word);
    running = 0;
    QuillantRun process(words, environment(die));
    running = process.processID();
    running.notify_all();
    return process.wait();
  }
  /// Runs a command and checks all that it says but progress. "{v}" stands for the video, "{l}" for the link,
  /// "{i}" for the entry on disk, of which there is one at most.
  void expect(const std::string& command, int code, const Lines& output, const Lines& errors = {}) {
    const auto result = run(command);
    EXPECT_EQ(result.exitCode, code) << command;
    auto said = std::regex_replace(result.output, std::regex("  (video|thumb) [0-9]+%\n"), "");
    said = std::regex_replace(said, std::regex("waiting \\(retry in ~(2[0-9]|30)s\\)"), "waiting");
    std::string expected;
    for (const auto& line : output) expected += line + "\n";
    EXPECT_EQ(said, filled(expected));
    expected.clear();
    for (const auto& line : errors) expected += "quillant: " + line + "\n";
    EXPECT_EQ(result.errors, filled(expected)) << command;
  }
  std::string filled(std::string text) const {
    const auto fillIn = [&](const char* mark, const std::string& value) {
      text = std::regex_replace(text, std::regex(mark), value);
    };
    fillIn("\\{v\\}", video);
    if (std::filesystem::is_directory(queue.directory))
      for (const auto& entry : queue.all()) fillIn("\\{i\\}", entry.shortId());
    for (const auto& id : service.videoIds()) fillIn("\\{l\\}", link(id));
    return text;
  }
  std::string link(const std::string& id) const {
    return service.origin() + "/v/" + service.upload(id)["slug"].get<std::string>();
  }
  static std::string contents(const std::filesystem::path& path) {
    return std::filesystem::exists(path) ? AtomicFile::read(path) : "";
  }
  void signIn() { secrets.store(secretName, service.signIn()); }

  TemporaryFolder folder;
  std::filesystem::path video = folder / "talk.mp4";
  std::filesystem::path clipboard = folder / "clipboard";
  std::filesystem::path data = folder / "data";
  SecretFileStore secrets{data / "Quillant/secrets"};
  const SecretName secretName{"com.quillant.desktop", "desktop-token-dev"};
  PendingUploadStore queue{data / "Quillant/pending-uploads-dev"};
  bool hasDesktop = true;
  std::string locale = "de_DE.UTF-8";
  std::atomic<pid_t> running = 0;
  /// What happens at each request from now on, on the service's thread.
  void watch(std::function<void(Step)> handler) {
    const std::lock_guard lock(watching);
    onRequest = std::move(handler);
  }
  void requested(Step step) {
    const std::lock_guard lock(watching);
    if (onRequest) onRequest(step);
  }
  std::mutex watching;
  std::function<void(Step)> onRequest;
  FakeService service{{.folder = folder / "service", .onRequest = [this](Step step) { requested(step); }}};
  const std::string account = "Signed in as dev@example.com (free) [profile: dev]";
  const std::string copied = "🔗 Link copied to clipboard (before upload finishes): {l}";
  const std::string sending = "uploading video (1,5 MB)…";
  const std::string posting = "uploading thumbnail…";
  const std::string footer = "\nThese resume automatically (launch sweep / `quillant resume`).";
};

}  // namespace quillant
