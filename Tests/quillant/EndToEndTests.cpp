#include <chrono>
#include <cmath>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include "MediaKit/Reading/AssetProbe.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/Media/DecodedMedia.h"
#include "Tests/quillant/RecordingFixture.h"

namespace quillant {

namespace {

namespace fs = std::filesystem;

class EndToEndTest : public RecordingFixture {
 protected:
  /// The one number in what `recover` prints for a playable orphan; absent for any other.
  std::optional<double> recoverableSeconds(std::string& output) const {
    output = QuillantRun({"recover", "--dir", folder.path().string()}).wait().output;
    const auto separator = output.find(" — playable, ");
    if (!output.starts_with("quillant: recoverable " + video + " started ") || separator == std::string::npos)
      return std::nullopt;
    return std::strtod(output.c_str() + separator + std::string(" — playable, ").size(), nullptr);
  }
  /// Expects the end of a recording for which there was no more space, and that what was written plays.
  void expectSalvaged(const QuillantRun::Result& result, const std::string& reason) const {
    EXPECT_EQ(result.exitCode, 70);
    EXPECT_EQ(result.output, "quillant: partial salvaged at " + video + "\n");
    EXPECT_THAT(
        result.errors,
        testing::HasSubstr("quillant: recording failed mid-capture: asset writer failed: could not write " +
                           video + ": " + reason + "\n"));
    const auto media = DecodedMedia::decode(video);
    EXPECT_GT(media.frames.size(), 1U);
    EXPECT_THAT(media.errors, testing::IsEmpty());
  }
  /// How much of the video a player that opens it now would show.
  double playableSeconds() const {
    try {
      return AssetProbe::probe(video).duration.seconds();
    } catch (const Error&) {
      return 0;
    }
  }
};

TEST_F(EndToEndTest, RecordsForTheDurationAndLeavesOutAPause) {
  move();
  const auto result = record("4", {"--pause-after", "1", "--pause-duration", "1.5"}).wait();
  EXPECT_EQ(result.exitCode, 0);
  // A machine that is too busy for the encoder adds a warning.
  EXPECT_THAT(result.errors, testing::StartsWith("quillant: paused at 1s for 1.5s\nquillant: resumed\n"));
  EXPECT_EQ(result.output, "quillant: recorded " + video + "\nquillant: telemetry " +
                               (folder / "x.cursor.json").string() +
                               "\nquillant: clicks from system events; 0 shorter than one sample gap\n");
  const auto media = DecodedMedia::decode(video);
  EXPECT_THAT(media.errors, testing::IsEmpty());
  ASSERT_GT(media.frames.size(), 20U);
  EXPECT_NEAR(media.duration.seconds(), 2.5, 0.5);
  for (std::size_t index = 1; index < media.frames.size(); ++index)
    EXPECT_LT((media.frames[index].time - media.frames[index - 1].time).seconds(), 1.2);
  EXPECT_FALSE(fs::exists(folder / "x.recording"));
}

TEST_F(EndToEndTest, LeavesWhatPlaysWheneverItIsKilled) {
  move();
  for (const double wanted : {0.0, 0.1, 1.5, 3.0}) {
    const auto begun = std::chrono::steady_clock::now();
    auto recording = record("60");
    double seen = 0;
    EXPECT_TRUE(eventually([&] {
      seen = playableSeconds();
      return fs::exists(folder / "x.recording") && seen >= wanted;
    }));
    recording.kill();
    recording.wait();
    const std::chrono::duration<double> lived = std::chrono::steady_clock::now() - begun;

    std::string line;
    if (const auto seconds = recoverableSeconds(line)) {
      EXPECT_LE(*seconds, lived.count());
      EXPECT_GE(*seconds, seen - 0.06) << "what once played is lost";
      EXPECT_THAT(DecodedMedia::decode(video).errors, testing::IsEmpty()) << wanted;
    } else {
      EXPECT_EQ(seen, 0) << line;
      EXPECT_THAT(line, testing::AnyOf("quillant: no orphaned recordings found\n",
                                       testing::HasSubstr(" — unreadable partial — "),
                                       testing::HasSubstr(" — no video track in the partial\n")));
    }
    for (const auto& entry : fs::directory_iterator(folder.path())) fs::remove(entry.path());
  }
}

TEST_F(EndToEndTest, EndsOnAFullDiskAndKeepsWhatWasWritten) {
  if (::mount("none", folder.path().c_str(), "tmpfs", 0, "size=2m") != 0)
    GTEST_SKIP() << "only root can mount a small disk";
  move({"noise"});
  const auto result = record("60", {"--no-telemetry"}).wait();
  EXPECT_THAT(result.errors, testing::StartsWith("quillant: warning: only 2.1 MB is free"));
  expectSalvaged(result, "No space left on device");
  ::umount2(folder.path().c_str(), MNT_DETACH);
}

TEST_F(EndToEndTest, EndsAtALimitOnTheSizeOfFilesAsOnAFullDisk) {
  move({"noise"});
  auto recording = record("60", {"--no-telemetry"});
  const rlimit limit{.rlim_cur = 2'000'000, .rlim_max = 2'000'000};  // above a picture in shared memory
  ASSERT_EQ(::prlimit(recording.processID(), RLIMIT_FSIZE, &limit, nullptr), 0);
  expectSalvaged(recording.wait(), "File too large");
}

TEST_F(EndToEndTest, EndsOnTimeAlthoughTheServerHangs) {
  move();
  auto recording = record("3");
  EXPECT_TRUE(eventually([&] { return playableSeconds() > 0.5; }));
  ::kill(display->processID(), SIGSTOP);
  const auto result = recording.wait();  // sooner than the server would count as hung
  ::kill(display->processID(), SIGCONT);
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  const auto media = DecodedMedia::decode(video);
  EXPECT_THAT(media.errors, testing::IsEmpty());
  EXPECT_NEAR(media.duration.seconds(), 3, 0.7);
}

TEST_F(EndToEndTest, EndsWhenTheServerGoesAway) {
  move();
  auto recording = record("60");
  EXPECT_TRUE(eventually([&] { return isLarger(video, 10'000); }));
  display->kill();
  const auto result = recording.wait();
  EXPECT_EQ(result.exitCode, 70);
  EXPECT_THAT(result.errors, testing::StartsWith("quillant: recording failed mid-capture: "));
  EXPECT_THAT(DecodedMedia::decode(video).errors, testing::IsEmpty());
}

}  // namespace

}  // namespace quillant
