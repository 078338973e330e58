#include <cstddef>
#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "Core/JSON.h"
#include "Tests/quillant/QuillantRun.h"
#include "Tests/quillant/SpokenVideo.h"

namespace quillant {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

/// From now on whoever opens a socket that could reach beyond this machine, in this process or in what it
/// starts, is killed by SIGSYS.
void forbidNetwork() {
  sock_filter rules[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_socket, 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AF_UNIX, 1, 0),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program{std::size(rules), rules};
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
    ::_exit(99);
}

class CaptionsProgramTest : public testing::Test {
 protected:
  CaptionsProgramTest() {
    fs::create_directory(temporary);
    writeSpokenVideo(video);
  }

  std::vector<std::string> captions(const std::string& name) const {
    return {"captions", video, "--output", (folder / name).string()};
  }
  QuillantRun::Result quillantWith(const std::vector<std::string>& words) const {
    return QuillantRun(words, environment).wait();
  }
  std::string file(const std::string& name) const { return AtomicFile::read(folder / name); }

  TemporaryFolder folder;
  fs::path temporary = folder / "temporary";
  fs::path cache = folder / "talk.source-primary.transcript-mic.json";
  std::string video = (folder / "talk.mp4").string();
  ChildProcess::Environment environment{{"LC_ALL", "en_US.UTF-8"},
                                        {"QUILLANT_LEGACY_SPEECH", ""},
                                        {"TMPDIR", temporary.string()},
                                        {"HOME", folder.path().string()}};
};

TEST_F(CaptionsProgramTest, WritesWhatIsSaidWithoutReachingForANetwork) {
  EXPECT_EXIT(
      {
        forbidNetwork();
        ::socket(AF_INET, SOCK_DGRAM, 0);
      },
      testing::KilledBySignal(SIGSYS), "");
  EXPECT_EXIT(
      {
        for (const auto& [name, value] : environment) ::setenv(name.c_str(), value->c_str(), 1);
        forbidNetwork();
        ::execl(QUILLANT_PROGRAM, "quillant", "captions", video.c_str(), "--output",
                (folder / "talk.vtt").c_str(), nullptr);
        ::_exit(98);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_THAT(file("talk.vtt"), StartsWith("WEBVTT\n\nNOTE quillant-style box\n\n1\n00:00:00."));
  EXPECT_THAT(file("talk.vtt"), HasSubstr(">fox\n<00:00:01."));
  EXPECT_TRUE(fs::is_empty(temporary));

  // The cache has it now: nobody listens again.
  const auto text = quillantWith(captions("talk.txt"));
  EXPECT_EQ(text.exitCode, 0) << text.errors;
  EXPECT_EQ(text.output, "quillant: wrote " + (folder / "talk.txt").string() + " (2 captions)\n");
  EXPECT_EQ(file("talk.txt"),
            "the quick brown fox jumps over the lazy dog\nplease open the window and close the door\n");
  EXPECT_EQ(quillantWith(captions("talk.srt")).exitCode, 0);
  EXPECT_THAT(file("talk.srt"), HasSubstr("\nthe quick brown fox\njumps over the lazy dog\n\n2\n00:00:05,"));
  auto words = captions("talk.json");
  words.insert(words.end(), {"--style", "outline", "--track", "mic"});
  EXPECT_EQ(quillantWith(words).exitCode, 0);
  const auto json = JSON::parse(file("talk.json"));
  EXPECT_EQ(json["style"], "outline");
  EXPECT_EQ(json["language"], "en-US");
  EXPECT_EQ(json["captions"][1]["words"][0][2], "please");

  words.back() = "system";
  const auto silent = quillantWith(words);
  EXPECT_EQ(silent.exitCode, 70);
  EXPECT_EQ(silent.errors, "quillant: there is no such sound to make captions of\n");
  words.back() = "audio";
  EXPECT_EQ(quillantWith(words).exitCode, 64);
  words = captions("talk.srt");
  words.insert(words.end(), {"--style", "outline"});
  EXPECT_EQ(quillantWith(words).errors,
            "quillant: --style has no effect on .srt files\nsee quillant captions --help\n");
  environment["LC_ALL"] = "sv_SE.UTF-8";
  fs::remove(cache);
  const auto swedish = quillantWith(captions("sv.vtt"));
  EXPECT_EQ(swedish.exitCode, 70);
  EXPECT_THAT(swedish.errors,
              HasSubstr("This computer can't make captions in svenska (Sverige) without sending the "
                        "sound off the computer, so Quillant doesn't.\n"));
  EXPECT_FALSE(fs::exists(folder / "sv.vtt"));
}

TEST_F(CaptionsProgramTest, LeavesNothingWhenItIsInterrupted) {
  std::vector<std::string> words{QUILLANT_PROGRAM};
  for (const auto& word : captions("talk.vtt")) words.push_back(word);
  ChildProcess program(words, environment);
  ASSERT_TRUE(program.readLineWith("making captions"));
  program.signal(SIGINT);
  EXPECT_EQ(program.wait(), 130);
  EXPECT_FALSE(fs::exists(folder / "talk.vtt") || fs::exists(cache));
  EXPECT_TRUE(fs::is_empty(temporary));
}

TEST_F(CaptionsProgramTest, BurnsCaptionsInAfterMakingThem) {
  const auto frame = [&](const std::string& name, const std::string& style) {
    const auto result = quillantWith({"frame", video, "--plain", "--at", "1.5", "--captions", style,
                                      "--output", (folder / name).string()});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    return result.output;
  };
  EXPECT_THAT(frame("without.png", "none"), testing::Not(HasSubstr("captions")));
  EXPECT_THAT(frame("with.png", "outline"), StartsWith("quillant: making captions\n"));
  EXPECT_NE(file("with.png"), file("without.png"));
  const auto exported = quillantWith(
      {"export", video, "--plain", "--captions", "box", "--output", (folder / "out.mp4").string()});
  EXPECT_EQ(exported.exitCode, 0) << exported.errors;
  EXPECT_THAT(exported.output, HasSubstr("quillant: exported ")) << "not a copy of the recording";
}

}  // namespace

}  // namespace quillant
