#pragma once

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/TemporaryFolder.h"
#include "Tests/Support/VirtualDisplay.h"
#include "Tests/quillant/QuillantRun.h"

namespace quillant {

/// The real program on a real X server of 640 by 480 pixels.
class RecordingFixture : public testing::Test {
 protected:
  void SetUp() override {
    if (!VirtualDisplay::isAvailable()) GTEST_SKIP() << "no Xvfb";
    display.emplace(640, 480);
  }
  /// Opens a window in which something moves; the words are quillant-animation's.
  void move(std::vector<std::string> words = {"region"}) {
    words.insert(words.begin(), QUILLANT_ANIMATION);
    animation.emplace(words, ChildProcess::Environment{{"DISPLAY", display->name()}});
  }
  QuillantRun record(const std::string& seconds, const std::vector<std::string>& more = {}) const {
    std::vector<std::string> words{"record", "--duration", seconds, "--output", video};
    words.insert(words.end(), more.begin(), more.end());
    return QuillantRun(words, display->name());
  }
  static bool isLarger(const std::filesystem::path& file, std::uintmax_t size) {
    std::error_code missing;
    const auto actual = std::filesystem::file_size(file, missing);
    return !missing && actual > size;
  }
  static void useCamera(const std::string& source) { ::setenv("QUILLANT_CAMERA", source.c_str(), 1); }

  TemporaryFolder folder;
  std::string video = (folder / "x.mp4").string();
  std::optional<VirtualDisplay> display;
  std::optional<ChildProcess> animation;
};

}  // namespace quillant
