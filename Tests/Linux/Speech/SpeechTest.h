#pragma once

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Editor/Captions/Transcriber.h"
#include "Linux/Speech/PocketSphinxRecognizer.h"
#include "MediaKit/Exporting/SoundFileWriter.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

/// A user who speaks English, with folders of their own for everything.
class SpeechTest : public testing::Test {
 protected:
  SpeechTest() {
    std::filesystem::create_directory(temporary);
    ::setenv("LC_ALL", "en_US.UTF-8", 1);
    ::setenv("TMPDIR", temporary.c_str(), 1);
  }
  ~SpeechTest() override {
    for (const char* variable : {"LC_ALL", "TMPDIR", "QUILLANT_LEGACY_SPEECH"}) ::unsetenv(variable);
  }

  std::filesystem::path write(const std::string& name, SoundFormat format,
                              const std::vector<float>& samples) const {
    SoundFileWriter writer(folder / name, format);
    writer.write(samples);
    writer.finish();
    return folder / name;
  }

  static Transcriber transcriber(std::shared_ptr<SpeechRecognizing> modern = nullptr) {
    return Transcriber({.modern = std::move(modern),
                        .legacy = std::make_shared<PocketSphinxRecognizer>(QUILLANT_SPEECH_MODELS)});
  }

  TemporaryFolder folder;
  std::filesystem::path temporary = folder / "temporary";
};

}  // namespace quillant
