#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <string>

#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

/// A user's session with a home of its own, on a display that is only a name, with programs that the test
/// writes found before the system's.
class DesktopTest : public testing::Test {
 protected:
  DesktopTest() {
    std::filesystem::create_directory(home / "bin");
    std::filesystem::create_directory(home / "run");
    set("HOME", home.path());
    set("XDG_RUNTIME_DIR", home / "run");
    set("XDG_DATA_HOME", home / "data");
    set("XDG_CONFIG_HOME", home / "config");
    set("DISPLAY", ":4242");
    set("WAYLAND_DISPLAY", "");
    set("XDG_CURRENT_DESKTOP", "");
    set("PATH", (home / "bin").string() + ":" + std::getenv("PATH"));
  }
  ~DesktopTest() override {
    for (const auto& [name, value] : before)
      value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
  }

  void set(const std::string& name, const std::string& value) {
    const char* old = std::getenv(name.c_str());
    before.emplace(name, old ? std::optional<std::string>(old) : std::nullopt);
    ::setenv(name.c_str(), value.c_str(), 1);
  }

  /// A shell script that is found on PATH as `name`.
  void addProgram(const std::string& name, const std::string& script) const {
    std::ofstream(home / "bin" / name) << "#!/bin/sh\n" << script << "\n";
    std::filesystem::permissions(home / "bin" / name, std::filesystem::perms(0755));
  }

  std::string contents(const std::filesystem::path& file) const {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  TemporaryFolder home;
  std::map<std::string, std::optional<std::string>> before;
};

}  // namespace quillant
