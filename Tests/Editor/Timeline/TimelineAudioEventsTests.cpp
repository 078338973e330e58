#include "Tests/Editor/Timeline/TimelineEventFixture.h"

namespace quillant {
namespace {

using namespace TimelineEvents;

TEST_F(TimelineEventRules, SoundsJoinTheirRowAtTheFirstFreePlace) {
  const TimelineAudioSource source = {.id = "rain", .fileExtension = "m4a", .displayName = "Rain"};
  auto state = after(before, AddAudioClip{{numbered(13), "rain", 4, 0, 2}, source});
  auto lines = TimelineEditDescription::of(state, duration);
  EXPECT_EQ(lines["voice"], "11:0-2@3 13:0-2@5 12:10-12@8");
  EXPECT_EQ(lines["selection"], "audio 13");
  EXPECT_EQ(lines["status"], "Added Rain.");

  const AddMusicClips music = {{{numbered(23), "rain", 2, 0, 2}, {numbered(24), "rain", 0, 0, 1}}, source};
  state = after(state, music);
  lines = TimelineEditDescription::of(state, duration);
  EXPECT_EQ(lines["music"], "21:0-3@0 22:0-3@3 23:0-2@6 24:0-1@8");
  EXPECT_EQ(lines["selection"], "audio 23");
  EXPECT_EQ(lines["status"], "Added Rain to the music row.");
  EXPECT_EQ(*state.snapshot.audioSources, std::vector{source}) << "once, however often it is used";
  EXPECT_EQ(after(before, AddMusicClips{{}, source}), before);
}

TEST_F(TimelineEventRules, SoundsChangeOnTheRowThatHoldsThem) {
  const std::string refusal = "That clip can't be trimmed further.";
  expect(before,
         {
             {DeleteAudioClip{numbered(11)}, {{"voice", "12:10-12@8"}}},
             {DeleteAudioClip{numbered(22)}, {{"music", "21:0-3@0"}}},
             {DeleteAudioClip{numbered(9)}, {}},
             {DeleteAudioRange{9, 4}, {{"voice", "11:0-1@3 12:11-12@9"}}},
             {DeleteAudioRange{5.5, 7}, {}},
             {DeleteMusicRange{1, 2}, {{"music", "21:0-1@0 new:2-3@2 22:0-3@3"}}},
             {DeleteMusicRange{7, 9}, {}},
             {TrimAudioClip{numbered(12), leading, 8.5}, {{"voice", "11:0-2@3 12:10.5-12@8.5"}}},
             {TrimAudioClip{numbered(22), trailing, 4}, {{"music", "21:0-3@0 22:0-1@3"}}},
             {TrimAudioClip{numbered(12), trailing, 11}, {{"status", refusal}}},
             {TrimAudioClip{numbered(9), trailing, 11}, {}},
             {MoveAudioClip{numbered(12), 0}, {{"voice", "12:10-12@0 11:0-2@3"}}},
             {MoveAudioClip{numbered(9), 0}, {}},
             {SetAudioClipSpeed{numbered(11), 2}, {{"voice", "11:0-2@3x2 12:10-12@8"}}},
             {SetAudioClipSpeed{numbered(11), 1}, {}},
             {SetAudioClipVolume{numbered(11), 0.5}, {{"voice", "11:0-2@3~0.5 12:10-12@8"}}},
             {SetAudioClipVolume{numbered(21), 0.5}, {{"music", "21:0-3@0~0.5 22:0-3@3~0.5"}}},
             {SetAudioClipMuted{numbered(12), true}, {{"voice", "11:0-2@3 12:10-12@8-muted"}}},
             {SetAudioClipMuted{numbered(22), true}, {{"music", "21:0-3@0-muted 22:0-3@3-muted"}}},
             {SetAudioClipMuted{numbered(9), true}, {}},
             {SetAudioClipCleanup{numbered(11), true}, {{"voice", "11:0-2@3-clean 12:10-12@8"}}},
             {SetAudioClipCleanup{numbered(11), false}, {}},
             {SetAllVoiceClips{7, true, true}, {{"voice", "11:0-2@3-muted-clean 12:10-12@8-muted-clean"}}},
             {SetAllVoiceClips{}, {}},
             {ReplaceMusicRow{{{numbered(24), "b", 1, 0, 2}, {numbered(23), "a", -1, 0, 2}}, "Laid."},
              {{"music", "23:0-2@0 24:0-2@2"}, {"selection", "audio 23"}, {"status", "Laid."}}},
             {ReplaceMusicRow{before.snapshot.musicClips, "Laid."}, {}},
             {ReplaceMusicRow{{}, "Gone."}, {{"music", ""}, {"status", "Gone."}}},
         });
  EXPECT_EQ(after(after(before, SelectAudioClip{numbered(11)}), DeleteAudioRange{0, 6}).selectedAudioClipID,
            std::nullopt);
}

TEST_F(TimelineEventRules, CaptionsComeWithWhatNeedsThem) {
  EXPECT_EQ(after(before, SetCaptionsOn{false}), before);
  EXPECT_EQ(after(before, SetCaptionStyle{TimelineCaptionStyle::plain}), before);
  EXPECT_EQ(after(before, ReplaceCaptionWords{0, 0, 0, "x"}), before);
  EXPECT_EQ(after(before, SetCaptionsOn{true}).snapshot.captions, TimelineCaptions{.on = true});

  const TimelineTranscript transcript = {"recording",
                                         TimelineTranscriptTrack::mic,
                                         "en",
                                         {{0, 0.5, "Helo"}, {0.5, 1.1, "wurld"}, {2, 3, "again"}}};
  const auto state = after(before, SetTranscript{transcript});
  ASSERT_TRUE(state.snapshot.captions);
  EXPECT_EQ(*state.snapshot.captions, (TimelineCaptions{.transcripts = {transcript}}));
  EXPECT_EQ(after(state, SetCaptionStyle{TimelineCaptionStyle::plain}).snapshot.captions->style,
            TimelineCaptionStyle::plain);
  EXPECT_FALSE(after(after(state, SetCaptionsOn{true}), SetCaptionsOn{false}).snapshot.captions->on);

  const auto words = [&](std::size_t first, std::size_t last, const std::string& text) {
    const auto corrected = after(state, ReplaceCaptionWords{0, first, last, text});
    return corrected.snapshot.captions->transcripts[0].words;
  };
  using Words = ChunkedVector<TimelineCaptionWord>;
  EXPECT_EQ(words(0, 1, " Hé my\nworld "),
            (Words{{0, 0.244, "Hé"}, {0.244, 0.489, "my"}, {0.489, 1.1, "world"}, {2, 3, "again"}}))
      << "the span is kept, shared by characters";
  EXPECT_EQ(words(1, 2, " \n"), (Words{{0, 0.5, "Helo"}}));
  const std::pair<std::size_t, std::size_t> refused[] = {{0, 3}, {2, 1}, {3, 3}};
  for (const auto& [first, last] : refused) EXPECT_EQ(words(first, last, "x"), transcript.words);
  EXPECT_EQ(after(state, ReplaceCaptionWords{1, 0, 0, "x"}), state);
}

}  // namespace
}  // namespace quillant
