#include <algorithm>

#include "Editor/Timeline/TimelineClipList.h"
#include "Tests/Editor/Timeline/TimelineEventFixture.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {
namespace {

using namespace TimelineEvents;

const std::string plays = "status Those words already play.";
const std::string inexact = "status It can't be put back exactly any more. Use Ctrl+Z to undo the cut.";

TEST_F(TimelineEventRules, AStretchOfVideoComesBackWhereItsNeighboursMeet) {
  const auto gap = [](double lo, double hi) { return RestoreVideoGap{{}, lo, hi, duration, duration}; };
  const auto back = [](const std::string& clips, const std::string& voiceStart) {
    return "clips " + clips + "|voice 12:10-12@" + voiceStart + "|status Restored.";
  };
  // The voice runs across the joint at 4 s; without it, what comes back moves the later voice on.
  expect(before, {{gap(4, 5),
                   "status A voice clip now plays across this spot. It can't be put back exactly "
                   "any more. Use Ctrl+Z to undo the cut."}});
  auto start = after(before, DeleteAudioClip{numbered(11)});
  expect(start, {{gap(4, 5), back("1:0-5 2:6-10x2 3:10-20", "9")},
                 {gap(5, 6), back("1:0-4 2:5-10x2 3:10-20", "8.5")},
                 {gap(4, 6), inexact},
                 {gap(4.5, 5.5), inexact},
                 {gap(8, 14), plays},
                 {gap(notANumber, 5), inexact},
                 {RestoreVideoGap{"file", 4, 5, 9, duration},
                  "status Nothing of this video plays any more, so there is nowhere to put it back."},
                 {RestoreVideoGap{{}, 4, 5, duration, 0}, "status Open a video before editing clips."}});

  start.snapshot.setClips({{numbered(1), 0, 4}, {numbered(2), 6, 10}}, duration);
  expect(start, {{gap(4, 6), back("1:0-10", "10")},
                 {gap(4.5, 5.5), back("1:0-4 new:4.5-5.5 2:6-10", "9")},
                 {gap(4.5, 4.54), inexact},
                 {gap(14, 30), back("1:0-4 2:6-10 new:14-20", "14")}});
  start.snapshot.setClips({{numbered(1), 0, 4}, {numbered(2), 6, 8}, {numbered(3), 9, 12}}, duration);
  expect(start, {{gap(3, 10), back("1:0-12", "11")}});
  start.snapshot.setClips({{numbered(1), 0, 4}, {numbered(2), 6, 10, 1, {}, {}, true}}, duration);
  expect(start, {{gap(4, 6), back("1:0-6 2:6-10-hidden", "10")}});
  start.snapshot.setClips({{numbered(1), 0, 4}, {numbered(4), 0, 1, 1, "file"}, {numbered(2), 6, 10}},
                          duration);
  expect(start, {{gap(4, 6), inexact},
                 {RestoreVideoGap{"file", 1, 2, 9, duration}, back("1:0-4 4:0-2/file 2:6-10", "9")}});
}

TEST_F(TimelineEventRules, AStretchOfVoiceFillsTheGapItLeft) {
  const auto expectAfter = [this](const std::vector<TimelineAudioClip>& row, const std::vector<Case>& cases) {
    before.snapshot.audioClips = row;
    expect(before, cases);
  };
  const auto gap = [](double lo, double hi) { return RestoreVoiceGap{"voice", lo, hi, duration}; };
  const auto back = [](const std::string& voice) { return "voice " + voice + "|status Restored."; };
  const std::string videoCut =
      "status The video was cut here too. It can't be put back exactly any more. Use Ctrl+Z to undo the cut.";
  const TimelineAudioClip head = {numbered(11), "voice", 7, 1, 2};
  expectAfter({head, {numbered(12), "voice", 9, 3, 5}},
              {{gap(2, 3), back("11:1-5@7")},
               {gap(0, 9), back("11:0-9@6")},
               {gap(2.2, 2.8), back("11:1-2@7 new:2.2-2.8@8.2 12:3-5@9")},
               {gap(2.5, 2.54), inexact},
               {gap(1, 2), plays},
               {RestoreVoiceGap{"other", 1, 2, duration}, inexact},
               {RestoreVoiceGap{"voice", 2, 3, 0}, "status Open a video before editing clips."}});
  expectAfter({head, {numbered(12), "voice", 9, 3, 5, 1, 0.5}}, {{gap(2, 3), back("11:1-3@7 12:3-5@9~0.5")}});
  for (const double start : {8.0, 10.0})
    expectAfter({head, {numbered(12), "voice", start, 3, 5}}, {{gap(2, 3), inexact}});
  expectAfter({{numbered(11), "voice", 3, 1, 2}, {numbered(12), "voice", 4, 3, 5}}, {{gap(2, 3), videoCut}});
  expectAfter({{numbered(11), "voice", 0, 1, 2}}, {{gap(0, 1), inexact}});
  before.snapshot.setClips({{numbered(1), 3, 9}}, duration);
  expect(before, {{gap(0, 1), videoCut}});
}

/// Text of what an edit says, with times to the microsecond: putting time back adds what cutting subtracted.
std::string content(const TimelineEditState& state) {
  auto edit = state.snapshot.contentOnly();
  const auto round = [](double& time) { time = std::round(time * 1e6) / 1e6 + 0.0; };
  for (auto& clip : edit.audioClips.mutate())
    for (auto* time : {&clip.start, &clip.sourceStart, &clip.sourceEnd}) round(*time);
  return JSON::compact(Json(edit));
}

TEST(TimelineRestore, TakesCutsBackOverGeneratedEdits) {
  constexpr double length = 120;
  int videos = 0, voices = 0;
  const auto expectTakenBack = [](TimelineEditState state, const TimelineEditEvent& cut,
                                  const TimelineEditEvent& gap) {
    const auto start = content(state);
    state.applying(cut);
    ASSERT_NE(content(state), start);
    state.applying(gap);
    EXPECT_EQ(state.statusMessage, "Restored.");
    EXPECT_EQ(content(state), start);
  };
  for (std::uint64_t seed = 0; seed < 150; ++seed) {
    SCOPED_TRACE(seed);
    GeneratedEdits generated(seed);
    const TimelineEditState state = {.snapshot = generated.snapshot(length, {})};
    const auto& row = state.snapshot.audioClips;
    const auto clips = state.snapshot.effectiveClips(length);
    const auto at = generated.below(clips.size());
    const auto output = TimelineClipList::placed(clips)[at];
    const double from = generated.time(output.start + 0.1, output.end),
                 to = generated.time(from, output.end - 0.1);
    const auto cutsShort = [&](const TimelineAudioClip& clip) {
      const bool isOutside = clip.end() <= from || to <= clip.start;
      return !isOutside && !(clip.start <= from - 0.05 && to + 0.05 <= clip.end());
    };
    if (to - from > 0.01 && std::ranges::none_of(row, cutsShort)) {
      const double lo = TimelineClipList::sourceTime(clips, at, from),
                   hi = TimelineClipList::sourceTime(clips, at, to);
      expectTakenBack(state, DeleteOutputRange{from, to, length},
                      RestoreVideoGap{clips[at].source, lo, hi, length, length});
      ++videos;
    }

    const auto& voice = row[generated.below(row.size())];
    const double cut = generated.time(voice.start + 0.05, voice.end() - 0.1);
    const double lo = voice.sourceStart + (cut - voice.start) * voice.rate(), hi = lo + 0.05 * voice.rate();
    // Elsewhere on the row the same sound may play it still.
    const auto alsoPlays = [&](const TimelineAudioClip& clip) {
      return clip.id != voice.id && clip.source == voice.source && clip.sourceStart < hi + 0.1 &&
             lo - 0.1 < clip.sourceEnd;
    };
    if (std::ranges::any_of(row, alsoPlays)) continue;
    expectTakenBack(state, DeleteAudioRange{cut, cut + 0.05}, RestoreVoiceGap{voice.source, lo, hi, length});
    ++voices;
  }
  EXPECT_GT(videos, 40);
  EXPECT_GT(voices, 20);
}

}  // namespace
}  // namespace quillant
