#include <gtest/gtest.h>
#include <limits>

#include "Editor/Timeline/TimelineAudioTrack.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {
namespace {

using TimelineAudioTrack::Row;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

UUID numbered(std::uint8_t number) {
  UUID id;
  id.bytes[15] = number;
  return id;
}

/// 0...4 of the output, and 6...8, which plays 5...9 of its file at twice its speed.
Row twoClips() {
  return {{.id = numbered(1), .source = "a", .start = 0, .sourceStart = 0, .sourceEnd = 4},
          {.id = numbered(2), .source = "b", .start = 6, .sourceStart = 5, .sourceEnd = 9, .speed = 2}};
}

/// "start+sourceStart-sourceEnd" of each clip; "none" for no change.
std::string text(const std::optional<Row>& row) {
  if (!row) return "none";
  const auto rounded = [](double seconds) { return std::to_string(std::llround(seconds * 1000)); };
  std::string result;
  for (const auto& clip : *row)
    result += (result.empty() ? "" : " ") + rounded(clip.start) + "+" + rounded(clip.sourceStart) + "-" +
              rounded(clip.sourceEnd);
  return result;
}

TEST(TimelineAudioTrack, CutsTimeAndRangesByTheirRules) {
  struct Case {
    double from, to;
    const char *removed, *deleted;
  };
  const Case cases[] = {
      {1, 2, "0+0-1000 1000+2000-4000 5000+5000-9000", "0+0-1000 2000+2000-4000 6000+5000-9000"},
      {3, 7, "0+0-3000 3000+7000-9000", "0+0-3000 7000+7000-9000"},
      {4, 6, "0+0-4000 4000+5000-9000", "none"},
      {5, 9, "0+0-4000", "0+0-4000"},
      {0.03, 3, "30+3000-4000 3030+5000-9000", "0+0-30 3000+3000-4000 6000+5000-9000"},
      {1, 3.97, "0+0-1000 3030+5000-9000", "0+0-1000 3970+3970-4000 6000+5000-9000"},
      {1, 1.0009, "none", "none"},
      {8, 9, "none", "none"},
      {1, notANumber, "none", "none"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(text(TimelineAudioTrack::removeTime(twoClips(), c.from, c.to)), c.removed) << c.from;
    EXPECT_EQ(text(TimelineAudioTrack::deleteRange(twoClips(), c.to, c.from)), c.deleted) << c.from;
  }
  for (const auto& divided :
       {*TimelineAudioTrack::removeTime(twoClips(), 1, 2), *TimelineAudioTrack::deleteRange(twoClips(), 1, 2),
        *TimelineAudioTrack::split(twoClips(), 2)}) {
    EXPECT_EQ(divided[0].id, numbered(1));
    EXPECT_NE(divided[1].id, numbered(1));
  }
  EXPECT_EQ((*TimelineAudioTrack::removeTime(twoClips(), 0.03, 3))[0].id, numbered(1)) << "no half is left";
}

TEST(TimelineAudioTrack, PutsTimeBackOnlyAtSeams) {
  EXPECT_EQ(text(TimelineAudioTrack::insertTime(twoClips(), 5, 2)), "0+0-4000 8000+5000-9000");
  EXPECT_EQ(text(TimelineAudioTrack::insertTime(twoClips(), 6, 2)), "0+0-4000 8000+5000-9000");
  EXPECT_EQ(text(TimelineAudioTrack::insertTime(twoClips(), 6.0019, 2)), "0+0-4000 8000+5000-9000");
  EXPECT_EQ(text(TimelineAudioTrack::insertTime(twoClips(), 6.01, 2)), "none") << "inside a clip";
  EXPECT_EQ(TimelineAudioTrack::insertTime(twoClips(), 7, 0.0004), twoClips()) << "nothing to do";
  EXPECT_EQ(TimelineAudioTrack::insertTime({}, 7, 1), Row());

  const auto divided = *TimelineAudioTrack::removeTime(twoClips(), 1, 2);
  EXPECT_EQ(TimelineAudioTrack::insertTime(divided, 1, 1), twoClips()) << "the halves are one clip again";
  EXPECT_EQ(text(TimelineAudioTrack::insertTime(divided, 1, 1.5)), "0+0-1000 2500+2000-4000 6500+5000-9000")
      << "another length joins nothing";
  auto louder = divided;
  louder[1].volume = 0.5;
  EXPECT_EQ(TimelineAudioTrack::insertTime(louder, 1, 1)->size(), 3u);
}

TEST(TimelineAudioTrack, SplitsAndTrimsInsideAClip) {
  EXPECT_EQ(text(TimelineAudioTrack::split(twoClips(), 7)), "0+0-4000 6000+5000-7000 7000+7000-9000");
  for (const double time : {0.04, 3.96, 5.0, 8.0, notANumber})
    EXPECT_FALSE(TimelineAudioTrack::split(twoClips(), time)) << time;

  constexpr auto leading = TimelineClipEdge::leading;
  constexpr auto trailing = TimelineClipEdge::trailing;
  struct Case {
    TimelineClipEdge edge;
    double to;
    const char* expected;
  };
  const Case cases[] = {
      {leading, 6.5, "0+0-4000 6500+6000-9000"},
      {leading, 99, "0+0-4000 7950+8900-9000"},
      {leading, 6.0005, "none"},
      {leading, -1, "none"},
      {trailing, 7.5, "0+0-4000 6000+5000-8000"},
      {trailing, 0, "0+0-4000 6000+5000-5100"},
      {trailing, 9, "none"},
      {trailing, notANumber, "none"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(text(TimelineAudioTrack::trim(twoClips(), numbered(2), c.edge, c.to)), c.expected) << c.to;
}

TEST(TimelineAudioTrack, MakesRoomByMovingRight) {
  EXPECT_EQ(text(TimelineAudioTrack::move(twoClips(), numbered(2), 1)), "0+0-4000 4000+5000-9000");
  EXPECT_EQ(text(TimelineAudioTrack::move(twoClips(), numbered(1), 5)), "6000+5000-9000 8000+0-4000");
  EXPECT_EQ(text(TimelineAudioTrack::move(twoClips(), numbered(2), 6)), "none");
  EXPECT_EQ(text(TimelineAudioTrack::setSpeed(*TimelineAudioTrack::move(twoClips(), numbered(2), 4),
                                              numbered(2), 1)),
            "0+0-4000 4000+5000-9000");
  EXPECT_FALSE(TimelineAudioTrack::setSpeed(twoClips(), numbered(1), 1.1));
  auto overlapping = twoClips();
  overlapping[0].start = 5;
  overlapping[1].start = -3;
  EXPECT_EQ(text(TimelineAudioTrack::normalized(overlapping)), "0+5000-9000 5000+0-4000");
  overlapping[0].start = 1;
  EXPECT_EQ(text(TimelineAudioTrack::normalized(overlapping)), "0+5000-9000 2000+0-4000");
}

void expectNoOverlap(const std::optional<Row>& row, int round) {
  if (!row) return;
  double free = -1e-6;
  for (const auto& clip : *row) {
    EXPECT_GE(clip.start, free) << round;
    free = clip.end() - 1e-6;
  }
}

TEST(TimelineAudioTrack, NeverOverlapsAfterAnyEdit) {
  for (int round = 0; round < 300; ++round) {
    GeneratedEdits generated(static_cast<std::uint64_t>(round));
    const auto row = generated.audioRow(1 + generated.below(20));
    const double length = TimelineAudioTrack::end(row);
    const double a = generated.time(0, length), b = generated.time(0, length);
    const auto id = row[generated.below(row.size())].id;
    expectNoOverlap(TimelineAudioTrack::removeTime(row, a, b), round);
    expectNoOverlap(TimelineAudioTrack::deleteRange(row, a, b), round);
    expectNoOverlap(TimelineAudioTrack::insertTime(row, a, b), round);
    expectNoOverlap(TimelineAudioTrack::split(row, a), round);
    expectNoOverlap(TimelineAudioTrack::move(row, id, a), round);
    expectNoOverlap(TimelineAudioTrack::setSpeed(row, id, generated.speed()), round);
  }
}

TEST(TimelineAudioTrack, PutsBackWhatACutInsideOneClipTookOut) {
  for (int round = 0; round < 300; ++round) {
    GeneratedEdits generated(static_cast<std::uint64_t>(round));
    const auto row = generated.audioRow(1 + generated.below(20));
    const auto& clip = row[generated.below(row.size())];
    const double a = generated.time(clip.start + 0.06, clip.end() - 0.06);
    const double b = generated.time(clip.start + 0.06, clip.end() - 0.06);
    if (!(b - a > 0.002)) continue;
    const auto back = TimelineAudioTrack::insertTime(*TimelineAudioTrack::removeTime(row, a, b), a, b - a);
    ASSERT_TRUE(back) << round;
    ASSERT_EQ(back->size(), row.size()) << round;
    for (std::size_t i = 0; i < row.size(); ++i) {
      auto expected = row[i];
      EXPECT_NEAR((*back)[i].start, expected.start, 1e-9) << round;
      expected.start = (*back)[i].start;
      EXPECT_EQ((*back)[i], expected) << round;
    }
  }
}

}  // namespace
}  // namespace quillant
