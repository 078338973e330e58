#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <ranges>
#include <regex>

#include "Core/AtomicFile.h"
#include "Editor/Captions/CaptionCue.h"
#include "Editor/Captions/CaptionLayout.h"
#include "Editor/Captions/CaptionSubRip.h"
#include "Editor/Captions/CaptionWebVTT.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

using testing::ElementsAre;

namespace {

constexpr double duration = 100;

TimelineEditSnapshot edit(std::vector<TimelineCaptionWord> words, std::vector<TimelineClip> clips = {},
                          std::string source = "primary") {
  TimelineEditSnapshot edit;
  if (!clips.empty()) edit.clipList = std::move(clips);
  edit.captions.emplace().setTranscript(
      {.source = std::move(source), .language = "en-US", .words = std::move(words)});
  return edit;
}

TimelineClip clip(double start, double end, double speed = 1) {
  return {.id = UUID::random(), .start = start, .end = end, .speed = speed};
}

std::vector<CaptionBlock> blocks(const TimelineEditSnapshot& edits) {
  return CaptionLayout::blocks(edits, TimelineExportEditPlan::build(duration, edits));
}

std::vector<std::string> texts(const TimelineEditSnapshot& edits) {
  std::vector<std::string> texts;
  for (const auto& block : blocks(edits)) texts.push_back(block.text());
  return texts;
}

}  // namespace

TEST(CaptionLayout, BreaksLinesWhereTheyAreMostAlike) {
  const auto breaks = [](std::vector<std::string_view> words) {
    std::vector<std::size_t> lasts;
    for (const auto& line : CaptionLayout::lines(words)) lasts.push_back(line.last);
    return lasts;
  };
  const std::string twenty(20, 'a');
  const std::string twentyOne(21, 'b');
  const std::string fifty(50, 'c');
  EXPECT_THAT(breaks({}), ElementsAre());
  EXPECT_THAT(breaks({twenty, twentyOne}), ElementsAre(1u)) << "42 characters fit";
  EXPECT_THAT(breaks({twentyOne, twentyOne}), ElementsAre(0u, 1u)) << "43 do not";
  EXPECT_THAT(breaks({fifty}), ElementsAre(0u)) << "a single word stays on one line";
  EXPECT_THAT(breaks({twenty, "a", twenty}), ElementsAre(0u, 2u)) << "of equal breaks the earlier one";
  EXPECT_THAT(breaks({fifty, "a", "b", "c"}), ElementsAre(0u, 3u));
  // A family of emoji, a flag and a letter with its mark are a character each for whoever reads them.
  std::string wide;
  for (int i = 0; i < 20; ++i) wide += i % 2 ? "\U0001F468‍\U0001F469‍\U0001F467" : "e\u0301";
  EXPECT_THAT(breaks({wide, twentyOne}), ElementsAre(1u));
}

TEST(CaptionLayout, ClosesABlockWhereSpeechPauses) {
  EXPECT_THAT(texts(edit({{0, 0.5, "one"}, {1.19, 1.5, "two"}, {2.2, 2.5, "three"}})),
              ElementsAre("one two", "three"))
      << "0.69 s is no pause, 0.7 s is one";
  EXPECT_THAT(texts(edit({{0, 0.2, "End."}, {0.3, 0.4, "Really?"}, {0.5, 0.6, "Yes!"}, {0.7, 0.8, "so"}})),
              ElementsAre("End.", "Really?", "Yes!", "so"));
  EXPECT_THAT(texts(edit({{0, 1, "a"}, {1, 3, "b"}, {3, 5, "c"}, {5, 5.1, "d"}})), ElementsAre("a b c", "d"))
      << "5 s are a full block";
  const std::string forty(40, 'x');
  EXPECT_THAT(texts(edit({{0, 1, forty}, {1, 2, forty}, {2, 3, "yy"}, {3, 4, "z"}})),
              ElementsAre(forty + " " + forty + " yy", "z"))
      << "84 characters are a full block";
  const auto block = blocks(edit({{1.2344, 1.24, "a"}}));
  EXPECT_EQ(block.at(0).id, "0-0-1234");
  EXPECT_DOUBLE_EQ(block.at(0).end, 1.2844) << "a short word stays for 0.05 s";
}

TEST(CaptionLayout, KeepsAWordWhoseMiddleIsPlayed) {
  const std::vector<TimelineCaptionWord> words{{1, 2, "one"}, {2, 3, "two"}, {3, 4, "three"}};
  EXPECT_THAT(texts(edit(words, {clip(1.25, 4)})), ElementsAre("one two three"));
  EXPECT_DOUBLE_EQ(blocks(edit(words, {clip(1.25, 4)})).front().start, 0) << "clipped at the cut";
  EXPECT_THAT(texts(edit(words, {clip(1.6, 4)})), ElementsAre("two three"));
  EXPECT_THAT(texts(edit(words, {clip(0, 2), clip(3, 10)})), ElementsAre("one", "three"));
  EXPECT_THAT(texts(edit(words, {clip(2, 4), clip(1, 3)})), ElementsAre("two three", "one two"))
      << "a stretch that plays twice is said twice";
  const auto fast = blocks(edit(words, {clip(0, 10, 2)}));
  EXPECT_DOUBLE_EQ(fast.front().words.at(1).start, 1);
  EXPECT_DOUBLE_EQ(fast.front().end, 2);
}

TEST(CaptionLayout, FollowsTheClipsOfAnAudioRow) {
  auto edits = edit({{1, 2, "one"}, {2, 3, "two"}, {8, 9, "late"}}, {clip(0, 20)}, "voice");
  EXPECT_THAT(texts(edits), ElementsAre()) << "nothing plays it";
  const TimelineAudioClip voice{
      .id = UUID::random(), .source = "voice", .start = 10, .sourceStart = 1, .sourceEnd = 9.5, .speed = 2};
  edits.audioClips = {voice};
  const auto said = blocks(edits);
  ASSERT_EQ(said.size(), 2u);
  EXPECT_DOUBLE_EQ(said[0].words.at(1).start, 10.5);
  EXPECT_DOUBLE_EQ(said[1].start, 13.5);

  edits.audioClips.mutate()[0].muted = true;
  EXPECT_THAT(texts(edits), ElementsAre());
  edits.audioClips.mutate()[0].muted = false;
  edits.setMuted(TimelineMuteRow::voice, true);
  EXPECT_THAT(texts(edits), ElementsAre());
  edits.setMuted(TimelineMuteRow::voice, false);
  edits.audioClips.mutate()[0].start = 18.9;
  EXPECT_THAT(texts(edits), ElementsAre("one two")) << "the video ends before the last word";
}

TEST(CaptionWebVTT, WritesCuesThatNeverOverlap) {
  EXPECT_EQ(CaptionWebVTT::timestamp(-1), "00:00:00.000");
  EXPECT_EQ(CaptionWebVTT::timestamp(3723.9996), "01:02:04.000");
  auto edits = edit({{0.5, 1, "a<b"}, {1, 1.5, "c"}, {1.5, 3, "d."}, {2, 2.5, "e"}});
  edits.captions->setTranscript({.source = "primary",
                                 .track = TimelineTranscriptTrack::system,
                                 .language = "en-US",
                                 .words = {{2, 2.6, "f"}}});
  EXPECT_EQ(CaptionWebVTT::make(blocks(edits), TimelineCaptionStyle::outline),
            "WEBVTT\n\nNOTE quillant-style outline\n"
            "\n1\n00:00:00.500 --> 00:00:02.000\na&lt;b <00:00:01.000>c <00:00:01.500>d.\n"
            "\n3\n00:00:02.000 --> 00:00:02.600\nf\n")
      << "the second cue has no time left, and keeps its number";
}

TEST(CaptionLayout, SaysEveryWordOfRandomEditsOnceAPlay) {
  constexpr std::array texts{"a",       "words", "of",     "naïve",
                             "a<b>",    "&amp;", "日本語", "\U0001F468‍\U0001F469‍\U0001F467",
                             "longer.", "why?"};
  TemporaryFolder folder;
  std::mt19937 random(7);
  const auto below = [&](int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(random); };
  const auto speech = [&] {
    std::vector<TimelineCaptionWord> words;
    for (double time = 0.1 * below(30); time < 90;) {
      const double end = time + 0.02 * (1 + below(40));
      words.push_back({time, end, texts[static_cast<std::size_t>(below(texts.size()))]});
      time = end + (below(5) ? 0 : 0.1 * below(15));
    }
    return words;
  };
  for (int round = 0; round < 300; ++round) {
    std::vector<TimelineClip> clips;
    for (int i = 1 + below(5); i > 0; --i) {
      const double start = 0.5 * below(150);
      clips.push_back(clip(start, start + 0.5 * (1 + below(40)), 1 + 0.25 * below(5)));
    }
    auto edits = edit(speech(), clips);
    edits.captions->setTranscript(
        {.source = "primary", .track = TimelineTranscriptTrack::system, .words = speech()});
    const auto plan = TimelineExportEditPlan::build(duration, edits);
    using Plays = std::map<std::pair<std::size_t, std::size_t>, int>;
    Plays expected;
    Plays said;
    for (std::size_t voice = 0; voice < 2; ++voice)
      for (std::size_t i = 0; i < edits.captions->transcripts[voice].words.size(); ++i)
        for (const auto& segment : plan.segments) {
          const auto& word = edits.captions->transcripts[voice].words[i];
          const double middle = (word.start + word.end) / 2;
          expected[{voice, i}] += middle >= segment.sourceStart - 1e-9 && middle < segment.sourceEnd - 1e-9;
        }
    const auto laidOut = CaptionLayout::blocks(edits, plan);
    std::int64_t shownUntil = 0;
    for (std::size_t i = 0; i < laidOut.size(); ++i) {
      const auto& block = laidOut[i];
      ASSERT_GE(2u, block.lines.size());
      ASSERT_EQ(block.words.size(), block.lines.back().last + 1);
      for (std::size_t word = 0; word < block.words.size(); ++word)
        ++said[{block.transcriptIndex, block.wordRange.first + word}];
      const auto cue = CaptionCue::of(laidOut, i);
      if (!cue) continue;
      ASSERT_LE(shownUntil, cue->start) << "cues overlap";
      shownUntil = cue->end;
    }
    std::erase_if(expected, [](const auto& count) { return count.second == 0; });
    ASSERT_EQ(said, expected);

    const auto file = CaptionWebVTT::make(laidOut, TimelineCaptionStyle::box);
    const std::regex time("(\\d\\d:\\d\\d:\\d\\d\\.\\d{3})");
    std::string previous;
    for (const std::string line : std::views::split(file, '\n') | std::views::transform([](auto part) {
                                    return std::string(part.begin(), part.end());
                                  }))
      for (auto found = std::sregex_iterator(line.begin(), line.end(), time); found != std::sregex_iterator();
           ++found) {
        // The end of a cue stands before its marks: only starts and marks rise through the file.
        if (line.find(" --> ") < static_cast<std::size_t>(found->position())) continue;
        ASSERT_LE(previous, found->str()) << file;
        previous = found->str();
      }

    if (round % 50 != 0) continue;
    // Another program reads the same cues from it as we write as SubRip.
    AtomicFile::write(folder / "x.vtt", file);
    ChildProcess reader({"ffmpeg", "-v", "error", "-i", (folder / "x.vtt").string(), "-f", "srt", "-"});
    auto read = reader.readAll();
    std::erase(read, '\r');
    EXPECT_EQ(read, CaptionSubRip::make(laidOut) + "\n");
  }
}

}  // namespace quillant
