#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <string>

#include "Core/Environment.h"
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
    set("XDG_DATA_DIRS", home / "data");  // no browser of the system's
    set("DISPLAY", ":4242");
    for (const auto* name : {"WAYLAND_DISPLAY", "XDG_CURRENT_DESKTOP"}) set(name, "");
    set("PATH", (home / "bin").string() + ":" + Environment::value("PATH"));
  }
  ~DesktopTest() override {
    for (const auto& [name, value] : before) ::setenv(name.c_str(), value.c_str(), 1);
  }

  void set(const std::string& name, const std::string& value) {
    before.emplace(name, Environment::value(name.c_str()));
    ::setenv(name.c_str(), value.c_str(), 1);
  }

  /// A shell script that is found on PATH as `name`.
  void addProgram(const std::string& name, const std::string& script) const {
    std::ofstream(home / "bin" / name) << "#!/bin/sh\n" << script << "\n";
    std::filesystem::permissions(home / "bin" / name, std::filesystem::perms(0755));
  }

  /// What a program left in a file of the user's, which is gone afterwards.
  std::string taken(const std::string& name) const {
    std::ifstream stream(home / name);
    std::filesystem::remove(home / name);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  TemporaryFolder home;
  std::map<std::string, std::string> before;
};

}  // namespace quillant
