#include <algorithm>
#include <gmock/gmock.h>
#include <random>

#include "Core/AtomicFile.h"
#include "Editor/Captions/CaptionWebVTT.h"
#include "Tests/Editor/Coordinator/CoordinatorFixture.h"
#include "Tests/Support/Media/WaveFile.h"

namespace quillant {

using testing::ElementsAre;

namespace {

/// Five seconds of video with a microphone, and its words.
class TranscriptEditingTest : public CoordinatorFixture {
 protected:
  TranscriptEditingTest() {
    open({.frames = 150, .audioChannels = {1}});
    coordinator->previewTranscript(transcript);
  }

  /// `[words]` are removed ones.
  std::string read() const {
    std::string text;
    for (const auto& paragraph : coordinator->transcriptParagraphs())
      for (const auto& item : paragraph.items) {
        if (const auto* word = std::get_if<TranscriptWordItem>(&item)) text += word->text + " ";
        if (std::holds_alternative<TranscriptPauseItem>(item)) text += "(pause) ";
        if (const auto* removed = std::get_if<TranscriptRemovedItem>(&item))
          text += "[" + removed->texts.front() + ".." + removed->texts.back() + "] ";
      }
    return text;
  }
  /// The id of the item with this word, or of the pause.
  std::string id(const std::string& text) const {
    for (const auto& paragraph : coordinator->transcriptParagraphs())
      for (const auto& item : paragraph.items) {
        const auto* word = std::get_if<TranscriptWordItem>(&item);
        if (word ? word->text == text
                 : text == "(pause)" && std::holds_alternative<TranscriptPauseItem>(item))
          return transcriptItemID(item);
      }
    return "none";
  }
  void remove(const std::string& first, const std::string& last) {
    coordinator->deleteTranscriptSelection({id(first), id(last)}, coordinator->transcript({}));
  }
  std::optional<TranscriptRemovedItem> removed() const {
    for (const auto& paragraph : coordinator->transcriptParagraphs())
      for (const auto& item : paragraph.items)
        if (const auto* found = std::get_if<TranscriptRemovedItem>(&item)) return *found;
    return std::nullopt;
  }
  std::optional<std::string> refusal(const TranscriptRemovedItem& item) {
    return run(coordinator->restoreRefusal(item));
  }

  const TimelineTranscript transcript{
      .source = "primary",
      .language = "en-US",
      .words = {{0.2, 0.5, "one"}, {0.5, 0.9, "two"}, {2.5, 3, "three"}, {3, 3.4, "four"}}};
};

TEST_F(TranscriptEditingTest, CutsByWordsAndPutsThemBack) {
  const auto whole = coordinator->editFingerprint();
  remove("two", "two");
  EXPECT_EQ(read(), "one [two..two] three four ");
  EXPECT_NEAR(coordinator->editedDuration(), 5 - (2.35 - 0.5), 1e-3);
  const auto two = removed().value();
  EXPECT_EQ(refusal(two), std::nullopt);
  run(coordinator->restore(two));
  EXPECT_EQ(coordinator->editFingerprint(), whole) << "the silence comes back with the word";
  EXPECT_EQ(refusal(two), "Those words already play.");
  coordinator->driver().undo();
  coordinator->driver().undo();
  EXPECT_EQ(coordinator->editFingerprint(), whole);

  // An edit while the file is looked at: the silence up to "three" has nothing to lead to any more.
  remove("two", "two");
  bool isRestored = false;
  asio::co_spawn(loop, coordinator->restore(removed().value()),
                 [&](std::exception_ptr) { isRestored = true; });
  loop.restart();
  loop.poll_one();
  remove("three", "three");
  ASSERT_TRUE(runUntil([&] { return isRestored; }));
  EXPECT_EQ(read(), "one two [three..three] four ");
  EXPECT_NEAR(coordinator->editedDuration(), 5 - (2.35 - 0.9) - 0.5, 1e-3);
  coordinator->driver().applySnapshot({.captions = coordinator->edits().captions});

  remove("(pause)", "(pause)");
  EXPECT_EQ(read(), "one two three four ");
  EXPECT_NEAR(coordinator->editedDuration(), 5 - (2.35 - 1.05), 1e-3) << "breath stays on both sides";
  remove("none", "one");
  EXPECT_EQ(read(), "one two three four ") << "an item that is gone selects nothing";
  coordinator->driver().undo();

  using Extends = TranscriptSelection::Extends;
  const auto clicked = TranscriptSelection::afterClick({}, id("three"), Extends::yes);
  EXPECT_EQ(clicked, (TranscriptSelection{id("three"), id("three")}));
  const auto extended = TranscriptSelection::afterClick(clicked, id("one"), Extends::yes);
  const auto cut = coordinator->transcriptCut(extended, coordinator->transcript({}));
  EXPECT_EQ(cut, (TranscriptDocument::Cut{0.2, 3, 0})) << "backwards, from where the first click was";

  coordinator->fixTranscriptWord(0, 2, "tree house");
  EXPECT_EQ(read(), "one two (pause) tree house four ");
  coordinator->editCaption("", coordinator->captionBlocks().front());
  EXPECT_EQ(read(), "tree house four ");
  remove("tree", "four");
  std::filesystem::remove(video);
  EXPECT_EQ(refusal(removed().value()), "Nothing to restore.");
  run(coordinator->restore(removed().value()));
  EXPECT_TRUE(removed());
}

TEST_F(TranscriptEditingTest, PutsBackWhateverSelectionsTookOut) {
  std::mt19937 random(11);
  const auto below = [&](int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(random); };
  for (int round = 0; round < 60; ++round) {
    std::vector<TimelineCaptionWord> words;
    for (double time = 0.1 * below(5); time < 4.5;) {
      const double end = time + 0.05 * (2 + below(8));
      words.push_back({time, std::min(end, 5.0), "w" + std::to_string(words.size())});
      time = end + (below(2) ? 0 : 0.1 * below(12));
    }
    coordinator->driver().applySnapshot({});
    coordinator->previewTranscript({.source = "primary", .language = "en-US", .words = words});
    const auto whole = coordinator->editFingerprint();
    const int count = static_cast<int>(words.size());
    for (int cuts = 1 + below(3); cuts > 0; --cuts) {
      const int first = below(count);
      remove(words[static_cast<std::size_t>(first)].text,
             words[static_cast<std::size_t>(std::min(count - 1, first + below(4)))].text);
    }
    while (const auto item = removed()) {
      ASSERT_EQ(refusal(*item), std::nullopt) << round;
      run(coordinator->restore(*item));
    }
    ASSERT_EQ(coordinator->editFingerprint(), whole) << round;
  }
}

TEST_F(TranscriptEditingTest, CutsAVoiceRowAlone) {
  WaveFile::write(folder / "x.source-take.wav", 16'000, 1, 16'000 * 4, [](int) { return 0.0; });
  auto edits = coordinator->edits();
  edits.audioSources = {{.id = "take",
                         .kind = TimelineAudioSource::Kind::voiceover,
                         .fileExtension = "wav",
                         .displayName = "Take"}};
  edits.audioClips = {{.id = UUID::random(), .source = "take", .sourceEnd = 4}};
  coordinator->driver().applySnapshot(edits);
  coordinator->previewTranscript({.source = "take",
                                  .track = TimelineTranscriptTrack::audio,
                                  .language = "sv",
                                  .words = {{1, 1.4, "hej"}, {1.4, 2, "du"}, {3.4, 4, "där"}}});
  const auto paragraphs = coordinator->transcriptParagraphs();
  EXPECT_EQ(coordinator->transcriptSpeaker(paragraphs[0]), "x (microphone)");
  EXPECT_EQ(coordinator->transcriptSpeaker(paragraphs[1]), "Take");
  const auto whole = coordinator->editFingerprint();
  remove("hej", "du");
  EXPECT_DOUBLE_EQ(coordinator->editedDuration(), 5) << "the video is as long as before";
  EXPECT_EQ(coordinator->edits().audioClips.size(), 2u);
  run(coordinator->restore(removed().value()));
  EXPECT_EQ(coordinator->editFingerprint(), whole);
  remove("two", "hej");
  EXPECT_LT(coordinator->editedDuration(), 5) << "words of the video among them cut the video";
}

TEST_F(TranscriptEditingTest, WritesCaptionsOnceEverySoundHasItsWords) {
  const auto target = folder / "share.vtt";
  const auto language = [&] { return run(coordinator->writeShareCaptions(target)); };
  EXPECT_EQ(language(), std::nullopt) << "captions are off";
  coordinator->driver().applySnapshot({.captions = TimelineCaptions{.on = true}});
  constexpr const char* notReady =
      "Captions for “x (microphone)” aren't ready yet. Wait for them in the Captions tab, or turn captions "
      "off.";
  EXPECT_EQ(errorOf(language), notReady);
  EXPECT_EQ(
      errorOf([&] {
        run(coordinator->exportMP4(folder / "out.mp4", EditorExportQuality::source, true, [](double) {}));
      }),
      notReady);
  coordinator->previewTranscript({.source = "primary", .language = "en-US", .words = {}});
  EXPECT_EQ(language(), std::nullopt) << "nothing is said";
  EXPECT_FALSE(std::filesystem::exists(target));

  coordinator->previewTranscript(transcript);
  coordinator->previewTranscript(
      {.source = "primary",
       .track = TimelineTranscriptTrack::system,
       .language = "sv",
       .words = {{4, 4.1, "a"}, {4.1, 4.2, "b"}, {4.2, 4.3, "c"}, {4.3, 4.4, "d"}}});
  coordinator->setCaptionStyle(TimelineCaptionStyle::outline);
  EXPECT_EQ(language(), "en-US") << "of equally many words";
  EXPECT_EQ(AtomicFile::read(target),
            CaptionWebVTT::make(coordinator->captionBlocks(), TimelineCaptionStyle::outline));
  coordinator->fixTranscriptWord(0, 0, "");
  EXPECT_EQ(language(), "sv");
}

}  // namespace

}  // namespace quillant
