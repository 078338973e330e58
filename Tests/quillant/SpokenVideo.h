#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "Tests/Support/ChildProcess.h"

namespace quillant {

/// Writes a video of eight seconds in which a voice says two sentences.
inline void writeSpokenVideo(const std::filesystem::path& video) {
  const auto say = [&](const char* sentence, const char* name) {
    const auto path = (video.parent_path() / name).string();
    EXPECT_EQ(ChildProcess({"flite", "-voice", "slt", "-t", sentence, "-o", path}).wait(), 0);
    return path;
  };
  ChildProcess ffmpeg({"ffmpeg",
                       "-v",
                       "error",
                       "-y",
                       "-i",
                       say("the quick brown fox jumps over the lazy dog", "a.wav"),
                       "-i",
                       say("please open the window and close the door", "b.wav"),
                       "-f",
                       "lavfi",
                       "-i",
                       "color=gray:size=320x180:rate=10:duration=8",
                       "-filter_complex",
                       "[1]adelay=5000[b];[0][b]amix=normalize=0[voice]",
                       "-map",
                       "2:v",
                       "-map",
                       "[voice]",
                       "-c:v",
                       "libx264",
                       "-preset",
                       "ultrafast",
                       video});
  EXPECT_EQ(ffmpeg.wait(), 0) << ffmpeg.readAll();
}

}  // namespace quillant
