#include "Tests/Editor/Timeline/TimelineEventFixture.h"

namespace quillant {
namespace {

using namespace TimelineEvents;

TEST_F(TimelineEventRules, SoundsChangeOnTheRowThatHoldsThem) {
  const TimelineAudioSource rain = {.id = "rain", .fileExtension = "m4a", .displayName = "Rain"};
  const AddMusicClips twoSongs = {{{numbered(23), "rain", 2, 0, 2}, {numbered(24), "rain", 0, 0, 1}}, rain};
  auto start = selecting({Item::audio(numbered(11))});
  start.snapshot.audioSources = {rain};
  expect(start, {
                    {AddAudioClip{{numbered(13), "rain", 4, 0, 2}, rain},
                     "voice 11:0-2@3 13:0-2@5 12:10-12@8|selection audio 13|status Added Rain."},
                    {twoSongs,
                     "music 21:0-3@0 22:0-3@3 23:0-2@6 24:0-1@8|selection audio 23|"
                     "status Added Rain to the music row."},
                    {AddMusicClips{{}, rain}, ""},
                    {DeleteAudioClip{numbered(11)}, "voice 12:10-12@8|selection "},
                    {DeleteAudioClip{numbered(9)}, ""},
                    {DeleteAudioRange{9, 2}, "voice 12:11-12@9|selection "},
                    {DeleteAudioRange{5.5, 7}, ""},
                    {DeleteMusicRange{1, 2}, "music 21:0-1@0 new:2-3@2 22:0-3@3"},
                    {TrimAudioClip{numbered(12), leading, 8.5}, "voice 11:0-2@3 12:10.5-12@8.5"},
                    {TrimAudioClip{numbered(22), trailing, 4}, "music 21:0-3@0 22:0-1@3"},
                    {TrimAudioClip{numbered(12), trailing, 11}, "status That clip can't be trimmed further."},
                    {TrimAudioClip{numbered(9), trailing, 11}, ""},
                    {MoveAudioClip{numbered(12), 0}, "voice 12:10-12@0 11:0-2@3"},
                    {SetAudioClipSpeed{numbered(11), 2}, "voice 11:0-2@3x2 12:10-12@8"},
                    {SetAudioClipSpeed{numbered(11), 1}, ""},
                    {SetAudioClipVolume{numbered(11), 0.5}, "voice 11:0-2@3~0.5 12:10-12@8"},
                    {SetAudioClipMuted{numbered(12), true}, "voice 11:0-2@3 12:10-12@8-muted"},
                    {SetAudioClipCleanup{numbered(11), true}, "voice 11:0-2@3-clean 12:10-12@8"},
                    {SetAudioClipCleanup{numbered(11), false}, ""},
                    {SetAllVoiceClips{7, true, true}, "voice 11:0-2@3-muted-clean 12:10-12@8-muted-clean"},
                    {SetAllVoiceClips{}, ""},
                    {ReplaceMusicRow{{{numbered(24), "b", 1, 0, 2}, {numbered(23), "a", -1, 0, 2}}, "Laid."},
                     "music 23:0-2@0 24:0-2@2|selection audio 23|status Laid."},
                    {ReplaceMusicRow{before.snapshot.musicClips, "Laid."}, ""},
                    {ReplaceMusicRow{{}, "Gone."}, "music |selection |status Gone."},
                });
  // Songs are set whole.
  expect(after(before, twoSongs),
         {{SetAudioClipVolume{numbered(21), 0.5}, "music 21:0-3@0~0.5 22:0-3@3~0.5 23:0-2@6 24:0-1@8"},
          {SetAudioClipMuted{numbered(24), true}, "music 21:0-3@0 22:0-3@3 23:0-2@6-muted 24:0-1@8-muted"},
          {SetAudioClipVolume{numbered(22), 7}, ""}});
  EXPECT_EQ(*after(before, twoSongs).snapshot.audioSources, std::vector{rain});
}

TEST_F(TimelineEventRules, CaptionsComeWithWhatNeedsThem) {
  expect(before, {{SetCaptionsOn{false}, ""},
                  {SetCaptionStyle{TimelineCaptionStyle::plain}, ""},
                  {ReplaceCaptionWords{0, 0, 0, "x"}, ""}});
  EXPECT_EQ(after(before, SetCaptionsOn{true}).snapshot.captions, TimelineCaptions{.on = true});

  const TimelineTranscript transcript = {
      "recording",
      TimelineTranscriptTrack::mic,
      "en",
      {{0, 0.5, "Helo"}, {0.5, 1.1, "wurld"}, {3, 4, "again"}, {2, 2.5, "earlier"}}};
  const auto state = after(before, SetTranscript{transcript});
  EXPECT_EQ(state.snapshot.captions, (TimelineCaptions{.transcripts = {transcript}}));
  EXPECT_EQ(after(state, SetCaptionStyle{TimelineCaptionStyle::plain}).snapshot.captions->style,
            TimelineCaptionStyle::plain);
  EXPECT_FALSE(after(after(state, SetCaptionsOn{true}), SetCaptionsOn{false}).snapshot.captions->on);

  const auto words = [&](std::size_t first, std::size_t last, const std::string& text) {
    return after(state, ReplaceCaptionWords{0, first, last, text}).snapshot.captions->transcripts[0].words;
  };
  using Words = ChunkedVector<TimelineCaptionWord>;
  EXPECT_EQ(words(0, 1, " Hé my\nworld "), (Words{{0, 0.244, "Hé"},
                                                  {0.244, 0.489, "my"},
                                                  {0.489, 1.1, "world"},
                                                  {3, 4, "again"},
                                                  {2, 2.5, "earlier"}}))
      << "the span is kept, shared by characters";
  EXPECT_EQ(words(1, 3, " \n"), (Words{{0, 0.5, "Helo"}}));
  EXPECT_EQ(words(2, 3, "now")[2], (TimelineCaptionWord{3, 3, "now"})) << "never ends before it starts";
  expect(state, {{ReplaceCaptionWords{0, 0, 4, "x"}, ""},
                 {ReplaceCaptionWords{0, 2, 1, "x"}, ""},
                 {ReplaceCaptionWords{0, 4, 4, "x"}, ""},
                 {ReplaceCaptionWords{1, 0, 0, "x"}, ""}});
}

}  // namespace
}  // namespace quillant
