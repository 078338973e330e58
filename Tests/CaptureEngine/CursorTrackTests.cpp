#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sstream>

#include "CaptureEngine/CursorTrack.h"

namespace quillant {

namespace {

constexpr MediaTime ms(std::int64_t count) {
  return {count, 1000};
}

/// A track whose pointer and clock the test moves by hand; at time t the pointer is at x = t.
struct ScriptedTrack {
  explicit ScriptedTrack(bool fromEvents) { track.setClicksFromEvents(fromEvents); }

  /// Words of a letter, a time in milliseconds where it has one, and buttons: t samples and p polls while the
  /// buttons are down, d and u are the events of a button, [ and ] bound a pause.
  void play(const std::string& script) {
    std::istringstream words(script);
    for (std::string word; words >> word;) {
      std::string buttons;
      std::int64_t time = 0;
      std::istringstream rest(word.substr(1));
      if (word[0] != 'p') rest >> time;
      rest >> buttons;
      const bool left = buttons.find('L') != std::string::npos;
      const bool right = buttons.find('R') != std::string::npos;
      const auto button = left ? MouseButton::left : MouseButton::right;
      if (word[0] == 't' || word[0] == 'p') pointer = {{double(time), 7}, left, right};
      if (word[0] == 't') track.tick(ms(time));
      if (word[0] == 'p') track.pollButtons();
      if (word[0] == 'd') track.handleClickEvent({button, ClickEvent::Kind::down, ms(time)});
      if (word[0] == 'u') track.handleClickEvent({button, ClickEvent::Kind::up, ms(time)});
      if (word[0] == '[') clock->pause(ms(time));
      if (word[0] == ']') clock->resume(ms(time));
    }
  }
  /// Where each click is, its button and count; the short ones last.
  std::string clicks() const {
    std::string text;
    for (const auto& click : track.payload(ms(0)).clicks)
      text += fmt::format("{}{}x{} ", click.x, click.button == "left" ? 'L' : 'R', click.clickCount);
    return text + fmt::format("{} short", track.clickDiagnostics().shortClicks);
  }

  CursorTrack::Snapshot pointer;
  std::shared_ptr<PauseClock> clock = std::make_shared<PauseClock>();
  CursorTrack track{
      {.region = {0, 0, 1000.4, 299.5}, .source = [this] { return pointer; }, .pauseClock = clock}};
};

TEST(CursorTrack, TakesEachPressForAClickOfItsSample) {
  constexpr bool polled = false;
  constexpr bool events = true;
  const struct {
    bool mode;
    const char* script;
    const char* clicks;
  } cases[] = {
      {polled, "t0L t10L t20R t30LR t40", "0Lx1 20Rx1 30Lx1 0 short"},  // held is no second press
      {polled, "t0 pL p t17 pL t33L p t50", "17Lx1 33Lx2 1 short"},     // over, and still down, at the tick
      {polled, "t0 pLR p t17 pLR pL t33L", "17Lx1 17Rx1 33Lx1 33Rx1 2 short"},  // one a tick at most
      // noticed, and then paused before the tick; pressed in the pause
      {polled, "t0 pL [10 t17L t50R pLR ]60 t67LR t83 t100L", "100Lx1 0 short"},
      {events, "t0L d5R t10L", "10Rx1 0 short"},  // the buttons do not count
      // Late, at a sample and between; before all samples; waiting for the next.
      {events, "d5L t10 t20 t30 d20R d11L d31L d3L t40", "10Lx1 20Rx1 20Lx1 10Lx2 40Lx3 0 short"},
      // a press that no sample has taken yet, in the pause, and of the pause but delivered after it
      {events, "t0 d5L [10 t17 d20L t33 ]40 d30L u41L t50 d60L t67", "67Lx1 0 short"},
      {events, "u0L d0L u16L u16L t20 d600L u617L", "20Lx1 1 short"},  // the first press came before
      {events, "d0L t0 d400L t400 d800L t800", "0Lx1 400Lx2 800Lx3 0 short"},
      {events, "d0L t0 d200R t200 d400L t400", "0Lx1 200Rx1 400Lx1 0 short"},
      {events, "d0L t0 d500L t500 d999L t999", "0Lx1 500Lx1 999Lx2 0 short"},
  };
  for (const auto& [mode, script, clicks] : cases) {
    ScriptedTrack scripted(mode);
    scripted.play(script);
    EXPECT_EQ(scripted.clicks(), clicks) << script;
    EXPECT_EQ(scripted.track.clickDiagnostics().fromSystemEvents, mode);
  }
}

TEST(CursorTrack, TellsTheVideosTimeAndTheRegionsPoints) {
  ScriptedTrack scripted(false);
  EXPECT_EQ(scripted.track.payload(ms(0)), (CursorTelemetryPayload{.width = 1000, .height = 300}));
  Rect live{100, 50, 1000, 299};
  const auto tick = [&](MediaTime time, Point location, bool leftDown = false) {
    scripted.pointer = {location, leftDown, false, live};
    scripted.track.tick(time);
  };
  tick(ms(990), {300, 200});  // before the first frame
  tick(ms(1000), {110.5, 60.4});
  scripted.play("[1010 t1500 ]2010");
  live = {0, 0, 2000, 299};  // grown: fitted into the region at the start
  tick(ms(2017) + MediaTime{1, 2000}, {300, 200}, true);
  tick(ms(2030), {9000, -9});  // outside: on the edge
  EXPECT_EQ(scripted.track.payload(ms(1000)),
            (CursorTelemetryPayload{.width = 1000,
                                    .height = 300,
                                    .samples = {{11, 10, 0}, {150, 100, 18}, {1000, 0, 30}},
                                    .clicks = {{150, 100, 18, "left", 1}}}));
}

}  // namespace
}  // namespace quillant
