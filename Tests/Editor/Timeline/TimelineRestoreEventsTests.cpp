#include "Editor/Timeline/TimelineClipList.h"
#include "Tests/Editor/Timeline/TimelineEventFixture.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {
namespace {

using namespace TimelineEvents;
using Lines = TimelineEditDescription::Lines;

const std::string plays = "Those words already play.";
const std::string inexact = "It can't be put back exactly any more. Use ⌘Z to undo the cut.";
const std::string restored = "Restored.";

TEST_F(TimelineEventRules, AStretchOfVideoComesBackWhereItsNeighboursMeet) {
  const auto gap = [](double lo, double hi) { return RestoreVideoGap{{}, lo, hi, duration, duration}; };
  const auto clips = [](const std::string& text, const std::string& voice) -> Lines {
    return {{"clips", text}, {"voice", voice}, {"status", restored}};
  };
  // The voice runs across the joint at 4 s; without it, what comes back moves the later voice on.
  expect(before, {{gap(4, 5),
                   {{"status",
                     "A voice clip now plays across this spot. It can't be put back exactly any more. "
                     "Use ⌘Z to undo the cut."}}}});
  auto start = after(before, DeleteAudioClip{numbered(11)});
  expect(start,
         {
             {gap(4, 5), clips("1:0-5 2:6-10x2 3:10-20", "12:10-12@9")},
             {gap(3, 5.5), clips("1:0-5.5 2:6-10x2 3:10-20", "12:10-12@9.5")},
             {gap(5, 6), clips("1:0-4 2:5-10x2 3:10-20", "12:10-12@8.5")},
             {gap(4, 6), {{"status", inexact}}},
             {gap(4.5, 5.5), {{"status", inexact}}},
             {gap(1, 3), {{"status", plays}}},
             {gap(8, 14), {{"status", plays}}},
             {gap(5, 4), {{"status", inexact}}},
             {gap(notANumber, 5), {{"status", inexact}}},
             {RestoreVideoGap{"file", 4, 5, 9, duration},
              {{"status", "Nothing of this video plays any more, so there is nowhere to put it back."}}},
             {RestoreVideoGap{{}, 4, 5, duration, 0}, {{"status", "Open a video before editing clips."}}},
         });

  start.snapshot.setClips({{numbered(1), 0, 4}, {numbered(2), 6, 10}}, duration);
  expect(start, {
                    {gap(4, 6), clips("1:0-10", "12:10-12@10")},
                    {gap(4.5, 5.5), clips("1:0-4 new:4.5-5.5 2:6-10", "12:10-12@9")},
                    {gap(4.5, 4.54), {{"status", inexact}}},
                    {gap(14, 30), clips("1:0-4 2:6-10 new:14-20", "12:10-12@14")},
                });
  start.snapshot.setClips({{numbered(1), 0, 4}, {numbered(2), 6, 8}, {numbered(3), 9, 12}}, duration);
  expect(start, {{gap(3, 10), clips("1:0-12", "12:10-12@11")}});
  start.snapshot.setClips({{numbered(1), 0, 4}, {numbered(2), 6, 10, 1, {}, {}, true}}, duration);
  expect(start, {{gap(4, 6), clips("1:0-6 2:6-10-hidden", "12:10-12@10")}});
  start.snapshot.setClips({{numbered(1), 0, 4}, {numbered(4), 0, 1, 1, "file"}, {numbered(2), 6, 10}},
                          duration);
  expect(start,
         {{gap(4, 6), {{"status", inexact}}},
          {RestoreVideoGap{"file", 1, 2, 9, duration}, clips("1:0-4 4:0-2/file 2:6-10", "12:10-12@9")}});
}

TEST_F(TimelineEventRules, AStretchOfVoiceFillsTheGapItLeft) {
  const auto gap = [](double lo, double hi) { return RestoreVoiceGap{"voice", lo, hi, duration}; };
  const auto voice = [](const std::string& text) { return Lines{{"voice", text}, {"status", restored}}; };
  const std::string videoCut =
      "The video was cut here too. It can't be put back exactly any more. Use ⌘Z to undo the cut.";
  auto start = before;
  const auto set = [&start](std::vector<TimelineAudioClip> row) {
    start.snapshot.audioClips = std::move(row);
  };

  set({{numbered(11), "voice", 7, 1, 2}, {numbered(12), "voice", 9, 3, 5}});
  expect(start, {
                    {gap(2, 3), voice("11:1-5@7")},
                    {gap(0, 9), voice("11:0-9@6")},
                    {gap(2.2, 2.8), voice("11:1-2@7 new:2.2-2.8@8.2 12:3-5@9")},
                    {gap(2.5, 2.54), {{"status", inexact}}},
                    {gap(1.2, 4), voice("11:1-5@7")},
                    {gap(1, 2), {{"status", plays}}},
                    {gap(3, 2), {{"status", inexact}}},
                    {RestoreVoiceGap{"other", 1, 2, duration}, {{"status", inexact}}},
                    {RestoreVoiceGap{"voice", 2, 3, 0}, {{"status", "Open a video before editing clips."}}},
                });
  set({{numbered(11), "voice", 7, 1, 2}, {numbered(12), "voice", 9, 3, 5, 1, 0.5}});
  expect(start, {{gap(2, 3), voice("11:1-3@7 12:3-5@9~0.5")}});
  set({{numbered(11), "voice", 7, 1, 2}, {numbered(12), "voice", 8, 3, 5}});
  expect(start, {{gap(2, 3), {{"status", inexact}}}});
  set({{numbered(11), "voice", 3, 1, 2}, {numbered(12), "voice", 4, 3, 5}});
  expect(start, {{gap(2, 3), {{"status", videoCut}}}});
  set({{numbered(11), "voice", 7, 1, 2}, {numbered(12), "voice", 10, 3, 5}});
  expect(start, {{gap(2, 3), {{"status", inexact}}}});
  set({{numbered(11), "voice", 0, 1, 2}});
  expect(start, {{gap(0, 1), {{"status", inexact}}}});
  start.snapshot.setClips({{numbered(1), 3, 9}}, duration);
  expect(start, {{gap(0, 1), {{"status", videoCut}}}});
}

/// Text of what an edit says, with times to the microsecond: putting time back adds what cutting subtracted.
std::string content(const TimelineEditState& state) {
  auto edit = state.snapshot.contentOnly();
  const auto round = [](double& time) { time = std::round(time * 1e6) / 1e6 + 0.0; };
  if (!edit.audioClips.empty())
    for (auto& clip : edit.audioClips.mutate())
      for (auto* time : {&clip.start, &clip.sourceStart, &clip.sourceEnd}) round(*time);
  return JSON::compact(Json(edit));
}

TEST(TimelineRestore, TakesCutsBackOverGeneratedEdits) {
  int videos = 0, voices = 0;
  for (std::uint64_t seed = 0; seed < 150; ++seed) {
    GeneratedEdits generated(seed);
    constexpr double length = 120;
    TimelineEditState state = {.snapshot = generated.snapshot(length, {})};
    const auto start = state;
    const auto clips = state.snapshot.effectiveClips(length);
    const auto at = generated.below(clips.size());
    const auto output = TimelineClipList::placed(clips)[at];
    const double from = generated.time(output.start + 0.1, output.end),
                 to = generated.time(from, output.end - 0.1);
    const auto cutsShort = [&](const TimelineAudioClip& clip) {
      const bool isOutside = clip.end() <= from || to <= clip.start;
      return !isOutside && !(clip.start <= from - 0.05 && to + 0.05 <= clip.end());
    };
    if (to - from > 0.01 && std::ranges::none_of(state.snapshot.audioClips, cutsShort)) {
      state.applying(DeleteOutputRange{from, to, length});
      ASSERT_FALSE(state.snapshot == start.snapshot) << seed;
      const double lo = TimelineClipList::sourceTime(clips, at, from),
                   hi = TimelineClipList::sourceTime(clips, at, to);
      state.applying(RestoreVideoGap{clips[at].source, lo, hi, length, length});
      EXPECT_EQ(state.statusMessage, restored) << seed;
      EXPECT_EQ(content(state), content(start)) << seed;
      ++videos;
    }

    state = start;
    const auto& voice = state.snapshot.audioClips[generated.below(state.snapshot.audioClips.size())];
    const auto heard = [&](double time) { return voice.sourceStart + (time - voice.start) * voice.rate(); };
    const double cut = generated.time(voice.start + 0.05, voice.end() - 0.1), end = cut + 0.05;
    const RestoreVoiceGap gap = {voice.source, heard(cut), heard(end), length};
    // Elsewhere on the row the same sound may play it still.
    const auto alsoPlays = [&](const TimelineAudioClip& clip) {
      return clip.id != voice.id && clip.source == voice.source && clip.sourceStart < gap.hi + 0.1 &&
             gap.lo - 0.1 < clip.sourceEnd;
    };
    if (std::ranges::any_of(start.snapshot.audioClips, alsoPlays)) continue;
    state.applying(DeleteAudioRange{cut, end});
    state.applying(gap);
    EXPECT_EQ(state.statusMessage, restored) << seed;
    EXPECT_EQ(content(state), content(start)) << seed;
    ++voices;
  }
  EXPECT_GT(videos, 40);
  EXPECT_GT(voices, 20);
}

}  // namespace
}  // namespace quillant
