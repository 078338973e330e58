#include <csignal>
#include <random>

#include "Linux/Screen/PixelRects.h"
#include "Tests/Linux/Screen/ScreenFixture.h"

namespace quillant {
namespace {

using DisplayStream = ScreenFixture;

TEST_F(DisplayStream, FetchesAndTellsWhatWasDrawnAndNothingElse) {
  struct Case {
    std::vector<PixelRect> drawn;
    std::vector<PixelRect> changed;
  };
  std::vector<Case> cases{
      {{{10, 20, 30, 40}}, {{10, 20, 30, 40}}},
      {{{11, 21, 30, 40}}, {{10, 20, 32, 42}}},
      {{{399, 299, 1, 1}}, {{398, 298, 2, 2}}},
      {{{0, 0, 400, 1}}, {{0, 0, 400, 2}}},
      {{{-20, 100, 30, 8}}, {{0, 100, 10, 8}}},
      // Two that are far apart stay two; neighbours become one.
      {{{0, 0, 60, 60}, {300, 200, 60, 60}}, {{0, 0, 60, 60}, {300, 200, 60, 60}}},
      {{{100, 100, 20, 20}, {130, 100, 20, 20}}, {{100, 100, 50, 20}}},
      {{{0, 0, 400, 200}}, {{0, 0, 400, 300}}},
  };
  const std::vector<Case> reversed(cases.rbegin(), cases.rend());
  cases.insert(cases.end(), reversed.begin(), reversed.end());

  auto& running = start(wholeDisplay());
  std::uint64_t fetched = 400 * 300;
  std::size_t number = 1;
  ASSERT_TRUE(frames.wait(1));
  EXPECT_TRUE(shows(*frames.wait(1), root));
  EXPECT_EQ(running.pixelsFetched(), fetched);
  for (const auto& [drawn, changed] : cases) {
    std::vector<std::pair<PixelRect, std::uint32_t>> fills;
    for (const auto& rect : drawn) fills.push_back({rect, 0x0a0b0cU * static_cast<std::uint32_t>(number)});
    draw(fills);
    const auto frame = frames.wait(++number);
    ASSERT_TRUE(frame);
    EXPECT_TRUE(shows(*frame, root)) << "frame " << number;
    EXPECT_EQ(frame->changed, changed) << "frame " << number;
    for (const auto& rect : changed) fetched += static_cast<std::uint64_t>(PixelRects::area(rect));
    EXPECT_EQ(running.pixelsFetched(), fetched) << "frame " << number;
    frames.letGo();
  }
  stop();
  EXPECT_EQ(frames.count(), number);
  EXPECT_EQ(frames.ends(), 0);
}

}  // namespace
}  // namespace quillant
