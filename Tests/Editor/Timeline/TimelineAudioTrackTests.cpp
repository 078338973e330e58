#include <algorithm>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <limits>
#include <tuple>

#include "Editor/Timeline/TimelineAudioTrack.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {
namespace {

using namespace TimelineAudioTrack;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
const UUID first = UUID::random(), second = UUID::random();

/// 0...4 of the output, and 6...8, which plays 5...9 of its file at twice its speed.
Row twoClips() {
  return {{first, "a", 0, 0, 4}, {second, "b", 6, 5, 9, 2}};
}

/// "sourceStart-sourceEnd@start" of each clip; "none" for no change.
std::string text(const std::optional<Row>& row) {
  if (!row) return "none";
  std::string result;
  for (const auto& clip : *row)
    result += fmt::format("{}{:g}-{:g}@{:g}", result.empty() ? "" : " ", clip.sourceStart, clip.sourceEnd,
                          clip.start);
  return result;
}

TEST(TimelineAudioTrack, CutsTimeAndRangesByTheirRules) {
  const struct {
    double from, to;
    std::string removed, deleted;
  } cases[] = {
      {1, 2, "0-1@0 2-4@1 5-9@5", "0-1@0 2-4@2 5-9@6"},
      {3, 7, "0-3@0 7-9@3", "0-3@0 7-9@7"},
      {4, 6, "0-4@0 5-9@4", "none"},
      {5, 9, "0-4@0", "0-4@0"},
      {0.03, 3, "3-4@0.03 5-9@3.03", "0-0.03@0 3-4@3 5-9@6"},
      {1, 3.97, "0-1@0 5-9@3.03", "0-1@0 3.97-4@3.97 5-9@6"},
      {1, 1.0009, "none", "none"},
      {8, 9, "none", "none"},
      {1, notANumber, "none", "none"},
  };
  for (const auto& [from, to, removed, deleted] : cases) {
    EXPECT_EQ(text(removeTime(twoClips(), from, to)), removed) << from;
    EXPECT_EQ(text(deleteRange(twoClips(), to, from)), deleted) << from;
  }
  for (const auto& row :
       {removeTime(twoClips(), 1, 2), deleteRange(twoClips(), 1, 2), split(twoClips(), 2)}) {
    EXPECT_EQ(row->at(0).id, first);
    EXPECT_NE(row->at(1).id, first);
  }
  EXPECT_EQ(removeTime(twoClips(), 0.03, 3)->at(0).id, first) << "no half is left";
  EXPECT_EQ(text(removeTimes(twoClips(), {{6.5, 9}, {3, 3.5}, {1, 2}, {3.5, 3.98}, {5, 5.0005}})),
            "0-1@0 2-3@1 5-6@4.02");
}

TEST(TimelineAudioTrack, PutsTimeBackOnlyAtSeams) {
  for (const double seam : {5.0, 6.0, 6.0019})
    EXPECT_EQ(text(insertTime(twoClips(), seam, 2)), "0-4@0 5-9@8");
  EXPECT_EQ(text(insertTime(twoClips(), 6.01, 2)), "none") << "inside a clip";
  EXPECT_EQ(insertTime(twoClips(), 7, 0.0004), twoClips()) << "nothing to do";
  EXPECT_EQ(insertTime({}, 7, 1), Row());

  const auto divided = *removeTime(twoClips(), 1, 2);
  EXPECT_EQ(insertTime(divided, 1, 1), twoClips()) << "the halves are one clip again";
  EXPECT_EQ(text(insertTime(divided, 1, 1.5)), "0-1@0 2-4@2.5 5-9@6.5") << "another length joins nothing";
  auto louder = divided;
  louder[1].volume = 0.5;
  EXPECT_EQ(insertTime(louder, 1, 1)->size(), 3u);
}

TEST(TimelineAudioTrack, SplitsAndTrimsInsideAClip) {
  EXPECT_EQ(text(split(twoClips(), 7)), "0-4@0 5-7@6 7-9@7");
  for (const double time : {0.04, 3.96, 5.0, 8.0, notANumber})
    EXPECT_EQ(text(split(twoClips(), time)), "none");
  const std::tuple<TimelineClipEdge, double, std::string> trims[] = {
      {TimelineClipEdge::leading, 99, "8.9-9@7.95"}, {TimelineClipEdge::leading, 6.0005, "none"},
      {TimelineClipEdge::leading, -1, "none"},       {TimelineClipEdge::trailing, 0, "5-5.1@6"},
      {TimelineClipEdge::trailing, 9, "none"},       {TimelineClipEdge::trailing, notANumber, "none"}};
  for (const auto& [edge, to, expected] : trims)
    EXPECT_EQ(text(trim({twoClips()[1]}, second, edge, to)), expected) << to;
}

TEST(TimelineAudioTrack, MakesRoomByMovingRight) {
  EXPECT_EQ(text(move(twoClips(), second, 1)), "0-4@0 5-9@4");
  EXPECT_EQ(text(move(twoClips(), first, 5)), "5-9@6 0-4@8");
  for (const double same : {6.0, std::numeric_limits<double>::infinity(), notANumber})
    EXPECT_EQ(text(move(twoClips(), second, same)), "none");
  EXPECT_EQ(end({{first, "a", -3, 0, 2}}), -1);
}

/// The rule word for word: a walk over the whole row for each clip.
Row placedPlainly(const std::vector<TimelineAudioClip>& clips, Row row) {
  const auto sort = [&] { std::ranges::stable_sort(row, {}, &TimelineAudioClip::start); };
  for (auto clip : clips) {
    sort();
    for (const auto& other : row)
      if (clip.start < other.end() - 1e-9 && other.start + 1e-9 < clip.end()) clip.start = other.end();
    row.push_back(clip);
  }
  sort();
  return row;
}

TEST(TimelineAudioTrack, PlacesManyClipsAsOneAfterAnother) {
  GeneratedEdits generated(5);
  const auto someClips = [&] {
    std::vector<TimelineAudioClip> clips(generated.below(8));
    for (auto& clip : clips)
      clip = {generated.id(), "a", double(generated.below(24)) / 4, 0, double(generated.below(7)) / 4};
    return clips;
  };
  for (int round = 0; round < 500; ++round) {
    const auto row = someClips(), clips = someClips();
    EXPECT_EQ(placing(clips, row), placedPlainly(clips, row)) << round;
  }
}

TEST(TimelineAudioTrack, PutsBackWhatACutInsideOneClipTookOut) {
  for (std::uint64_t seed = 0; seed < 300; ++seed) {
    SCOPED_TRACE(seed);
    GeneratedEdits generated(seed);
    const auto row = generated.audioRow(1 + generated.below(20));
    const auto& clip = row[generated.below(row.size())];
    const double from = generated.time(clip.start + 0.06, clip.end() - 0.06);
    const double to = generated.time(clip.start + 0.06, clip.end() - 0.06);
    if (!(to - from > 0.002)) continue;
    auto back = insertTime(*removeTime(row, from, to), from, to - from).value_or(Row());
    ASSERT_EQ(back.size(), row.size());
    for (std::size_t i = 0; i < row.size(); ++i) {
      EXPECT_NEAR(back[i].start, row[i].start, 1e-9);
      back[i].start = row[i].start;
    }
    EXPECT_EQ(back, row);
  }
}

}  // namespace
}  // namespace quillant
