#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Editor/Captions/TranscriptDocument.h"

namespace quillant {

using TranscriptDocument::Cut;

namespace {

constexpr double duration = 20;

TimelineClip clip(double start, double end) {
  return {.id = UUID::random(), .start = start, .end = end};
}

TimelineEditSnapshot edit(std::vector<TimelineCaptionWord> words, std::vector<TimelineClip> clips = {}) {
  TimelineEditSnapshot edit;
  if (!clips.empty()) edit.clipList = std::move(clips);
  edit.captions.emplace().setTranscript(
      {.source = "primary", .language = "en-US", .words = std::move(words)});
  return edit;
}

/// A document as a reader sees it: a paragraph a line, `[cut words]`, `(pause)`, `...` for what is awaited.
std::string read(const TimelineEditSnapshot& edits, const std::set<std::string>& pending = {}) {
  struct Reader {
    std::string operator()(const TranscriptWordItem& word) const { return word.text; }
    std::string operator()(const TranscriptPauseItem&) const { return "(pause)"; }
    std::string operator()(const TranscriptPendingItem&) const { return "..."; }
    std::string operator()(const TranscriptRemovedItem& removed) const {
      std::string text;
      for (const auto& word : removed.texts) text += (text.empty() ? "[" : " ") + word;
      return text + "]";
    }
  };
  std::string text;
  for (const auto& paragraph : TranscriptDocument::document(edits, duration, pending).paragraphs) {
    std::string line;
    for (const auto& item : paragraph.items) line += (line.empty() ? "" : " ") + std::visit(Reader{}, item);
    text += (text.empty() ? "" : "\n") + line;
  }
  return text;
}

}  // namespace

TEST(TranscriptDocument, ReadsAsTheEditIsHeard) {
  EXPECT_EQ(read({}), "");
  EXPECT_EQ(read({}, {"primary"}), "...");
  const std::vector<TimelineCaptionWord> words{{0, 1, "so"},  {1, 2, "this"},  {2, 3, "goes."},
                                               {3, 4, "And"}, {4.69, 5, "on"}, {5.7, 6, "and"},
                                               {7, 8, "on"}};
  EXPECT_EQ(read(edit(words)), "so this goes.\nAnd on\nand (pause)\non")
      << "0.7 s part paragraphs, 1 s is a pause";
  EXPECT_EQ(read(edit(words, {clip(0, 1), clip(2, 20)})), "so [this] goes.\nAnd on\nand (pause)\non");
  EXPECT_EQ(read(edit(words, {clip(1, 3)})), "[so] this goes. [And on and on]")
      << "beside the word before it, else beside the word after it";
  EXPECT_EQ(read(edit(words, {clip(10, 20)})), "[so this goes. And on and on]");
  EXPECT_EQ(read(edit(words, {clip(0, 2), clip(0, 3)})), "so this so this goes. [And on and on]")
      << "played twice";
}

TEST(TranscriptDocument, InterleavesVoicesAndTellsTheirRows) {
  auto edits = edit({{0, 1, "one"}, {1, 2, "two"}, {5, 6, "three"}});
  edits.captions->setTranscript({.source = "take",
                                 .track = TimelineTranscriptTrack::audio,
                                 .language = "en-US",
                                 .words = {{0.5, 1, "voice"}, {9, 10, "lost"}}});
  edits.audioSources = {{.id = "take",
                         .kind = TimelineAudioSource::Kind::voiceover,
                         .fileExtension = "m4a",
                         .displayName = "Take"}};
  edits.audioClips = {
      {.id = UUID::random(), .source = "take", .start = 2.2, .sourceStart = 0, .sourceEnd = 2}};
  EXPECT_EQ(read(edits, {"later"}), "one two\nvoice [lost] (pause)\nthree\n...");
  const auto document = TranscriptDocument::document(edits, duration, {});
  EXPECT_FALSE(document.paragraphs[0].isVoiceRow);
  EXPECT_TRUE(document.paragraphs[1].isVoiceRow);
  EXPECT_EQ(document.paragraphs[1].clipStart, 2.2);
  EXPECT_EQ(document.paragraphs[1].id, "1-2700");

  // What is awaited: of the recordings their microphones, until those are there.
  edits.sources = {{.id = "b", .kind = TimelineSource::Kind::recording}, {.id = "c"}};
  std::set<std::string> awaited;
  for (const auto& paragraph :
       TranscriptDocument::document(edits, duration, {"b", "c", "primary"}).paragraphs)
    if (!paragraph.transcript)
      awaited.insert(transcriptItemID(paragraph.items[0]) + " " + std::string(rawText(paragraph.track)));
  EXPECT_THAT(awaited, testing::ElementsAre("pending-b mic", "pending-c audio", "pending-primary system"));

  edits.setMuted(TimelineMuteRow::voice, true);
  EXPECT_EQ(read(edits), "one two (pause)\nthree\n[voice lost]")
      << "a row that is muted plays none of its words";
}

TEST(TranscriptDocument, TellsWhatIsHeardInSilence) {
  auto edits = edit({{0, 1, "one"}, {6, 7, "two"}}, {clip(0, 5), clip(5, 10)});
  const auto muted = [&] { return TranscriptDocument::document(edits, duration, {}).muted; };
  EXPECT_THAT(muted(), testing::IsEmpty());
  edits.clipList->mutate()[1].sound = TimelineRecordingSound{.micVolume = 0};
  EXPECT_THAT(muted(), testing::ElementsAre(TranscriptDocument::WordKey{0, 1}));
  edits.recordingSound.micMuted = true;  // of clips without a sound of their own
  edits.clipList->mutate()[1].sound = TimelineRecordingSound{.systemMuted = true};
  EXPECT_THAT(muted(), testing::ElementsAre(TranscriptDocument::WordKey{0, 0}));
  edits.setMuted(TimelineMuteRow::clips, true);
  EXPECT_EQ(muted().size(), 2u);
}

TEST(TranscriptDocument, CutsWithBreathForTheNeighbours) {
  struct Case {
    const char* what;
    TimelineSpan selected;
    std::vector<TimelineSpan> spoken;
    double videoEnd;
    Cut expected;
  };
  const Case cases[] = {
      {"alone and long", {2, 3}, {}, 20, {2.15, 2.85, 0.3}},
      {"alone and short", {2, 2.2}, {}, 20, {2, 2.2, 0}},
      {"wide gaps keep 0.15", {2, 3}, {{0, 1}, {4, 5}}, 20, {1.15, 3.85, 0.3}},
      {"0.5 is wide", {2, 3}, {{0, 1.5}, {3.5, 5}}, 20, {1.65, 3.35, 0.3}},
      {"a middling gap keeps half of what is over", {2, 3}, {{0, 1.6}, {3.3, 5}}, 20, {1.725, 3.225, 0.2}},
      {"narrow gaps stay whole", {2, 3}, {{0, 1.8}, {3.2, 5}}, 20, {2, 3, 0.4}},
      {"speech that overlaps", {2, 3}, {{0, 2.4}, {2.9, 5}}, 20, {2, 3, 0}},
      {"the nearest counts, one inside does not",
       {2, 3},
       {{0, 0.5}, {0.6, 1}, {2.2, 2.4}, {6, 7}, {4, 5}},
       20,
       {1.15, 3.85, 0.3}},
      {"what is nearer than a millisecond touches",
       {2, 3},
       {{0, 1.9996}, {1.9996, 2.4}, {2.9, 3.0004}, {3.0004, 5}},
       20,
       {1.9996, 3.0004, 0}},
      {"one side only", {2, 3}, {{0, 1}}, 20, {1.15, 3, 0.15}},
      {"the end of the video", {2, 3}, {{0, 1}, {8, 9}}, 3.5, {1.15, 3.5, 0.3}},
  };
  for (const auto& [what, selected, spoken, videoEnd, expected] : cases) {
    const auto cut = TranscriptDocument::cut(selected, spoken, videoEnd);
    EXPECT_NEAR(cut.start, expected.start, 1e-9) << what;
    EXPECT_NEAR(cut.end, expected.end, 1e-9) << what;
    EXPECT_NEAR(cut.keptGap, expected.keptGap, 1e-9) << what;
  }
}

}  // namespace quillant
