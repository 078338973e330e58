#include <asio/io_context.hpp>
#include <gmock/gmock.h>

#include "quillant/Models/AreaSelectionOverlayController.h"
#include "quillant/Models/CountdownOverlayController.h"

namespace quillant {
namespace {

using Controller = AreaSelectionOverlayController;
using Key = Controller::Key;
using testing::ElementsAre;

constexpr auto native = CaptureResolution::native;

TEST(AreaSelectionModel, KeepsWhatIsDrawnOnItsDisplay) {
  AreaSelectionModel model(1, {1000, 800});
  const auto drawn = [&](Point from, Point to) {
    model.updateDraw(from, to);
    model.endDraw();
    return model.rect();
  };
  EXPECT_EQ(drawn({100, 100}, {116, 116}), (Rect{100, 100, 16, 16}));
  EXPECT_EQ(drawn({300, 200}, {100, 50}), (Rect{100, 50, 200, 150}));    // towards the upper left
  EXPECT_EQ(drawn({900, 700}, {1500, -100}), (Rect{900, 0, 100, 700}));  // out of the display
  EXPECT_EQ(drawn({100, 100}, {115, 300}), std::nullopt);                // 15 points are none
  EXPECT_EQ(drawn({990, 100}, {2000, 300}), std::nullopt);               // nor are those that are left
  EXPECT_FALSE(model.commit());
}

TEST(AreaSelectionModel, StaysOnItsDisplayHoweverItIsDragged) {
  AreaSelectionModel model(1, {1000, 800});
  model.updateDraw({100, 100}, {300, 200});
  model.endDraw();
  const auto moved = [&](Point by) {
    model.move(by);
    return *model.rect();
  };
  // Each move is told from the beginning of the drag.
  EXPECT_EQ(moved({-500, 10}), (Rect{0, 110, 200, 100}));
  EXPECT_EQ(moved({5, 5}), (Rect{105, 105, 200, 100}));
  EXPECT_EQ(moved({5000, 5000}), (Rect{800, 700, 200, 100}));
  model.endDrag();
  EXPECT_EQ(moved({-800, -700}), (Rect{0, 0, 200, 100}));
  model.move({-700, -600});
  model.endDrag();

  const struct {
    SelectionHandle handle;
    Point by;
    Rect expected;
  } resizes[] = {
      {{-1, -1}, {10, 20}, {110, 120, 190, 80}},    {{1, 1}, {10, 20}, {100, 100, 210, 120}},
      {{0, 1}, {999, 20}, {100, 100, 200, 120}},   // an edge moves one way
      {{1, 0}, {-999, 0}, {100, 100, 16, 100}},    // never smaller than a selection
      {{-1, 0}, {999, 0}, {284, 100, 16, 100}},    // and the opposite edge stays
      {{-1, -1}, {-999, -999}, {0, 0, 300, 200}},  // nor larger than the display
      {{1, 1}, {9999, 9999}, {100, 100, 900, 700}},
  };
  for (const auto& [handle, by, expected] : resizes) {
    model.resize(by, handle);
    EXPECT_EQ(*model.rect(), expected);
    model.resize({}, handle);  // back to where the drag began
    model.endDrag();
  }
  EXPECT_EQ(SelectionHandle({1, 0}).position({100, 100, 200, 100}), (Point{300, 150}));
  model.nudge(-1000, 3);
  EXPECT_EQ(*model.rect(), (Rect{0, 103, 200, 100}));
  EXPECT_TRUE(model.commit());
  model.nudge(1, 1);
  model.move({1, 1});
  model.updateDraw({0, 0}, {500, 500});
  EXPECT_EQ(*model.rect(), (Rect{0, 103, 200, 100}));
}

/// A main display at scale 2 and one to its left.
const std::vector<DisplayInfo> desk = {
    {.id = 1, .frame = {0, 0, 1440, 900}, .scale = 2, .isMain = true},
    {.id = 2, .frame = {-1280, 180, 1280, 720}, .scale = 1},
};

TEST(AreaSelectionOverlayController, SelectsOnOneDisplayAndEndsOnce) {
  std::vector<std::pair<CaptureArea, std::uint32_t>> confirmed;
  int cancels = 0;
  std::optional<Controller> controller;
  controller.emplace(desk, native,
                     Controller::Callbacks{.confirm =
                                               [&](CaptureArea area, std::uint32_t display) {
                                                 controller.reset();
                                                 confirmed.emplace_back(area, display);
                                               },
                                           .cancel = [&] { ++cancels; }});
  auto& left = controller->models().back();
  auto& main = controller->models().front();
  controller->press(Key::commit);  // nothing yet
  controller->press(Key::up);
  main.updateDraw({10, 10}, {111, 111});
  EXPECT_EQ(controller->sizeLabel(main), "202 × 202");
  controller->press(Key::commit);  // still being drawn
  main.endDraw();
  left.updateDraw({0, 600}, {200, 710});
  left.endDraw();
  EXPECT_EQ(main.rect(), std::nullopt);
  EXPECT_EQ(controller->sizeLabel(main), "");
  EXPECT_EQ(controller->sizeLabel(left), "200 × 110");
  controller->press(Key::down, true);  // to the edge, and no further
  controller->press(Key::down, true);
  controller->press(Key::right, true);
  controller->press(Key::right);
  controller->press(Key::left, true);
  EXPECT_EQ(left.rect(), (Rect{1, 610, 200, 110}));
  controller->press(Key::commit);
  EXPECT_THAT(confirmed, ElementsAre(std::pair(CaptureArea{-1279, 0, 200, 110}, 2U)));
  EXPECT_EQ(cancels, 0);

  Controller cancelled(desk, native, {.cancel = [&] { ++cancels; }});
  cancelled.press(Key::cancel);
  cancelled.press(Key::cancel);
  EXPECT_EQ(cancels, 1);
}

TEST(CountdownOverlayController, CountsToTheEndOrIsCancelled) {
  asio::io_context loop;
  int waits = 0;
  std::vector<std::string> ends;
  const auto start = [&](int cancelAt) {
    std::shared_ptr<CountdownOverlayController> controller;
    waits = 0;
    controller = CountdownOverlayController::start(loop.get_executor(), 1, 3,
                                                   [&, cancelAt](double seconds) -> Task<bool> {
                                                     EXPECT_EQ(seconds, 1);
                                                     if (waits++ == cancelAt) controller->cancel();
                                                     co_return true;
                                                   },
                                                   {.finished =
                                                        [&] {
                                                          ends.emplace_back("finished");
                                                          controller->cancel();
                                                        },
                                                    .cancelled = [&] { ends.emplace_back("cancelled"); }});
    std::vector<int> shown;
    const auto connection =
        controller->model().changed.connect([&] { shown.push_back(controller->model().remaining); });
    loop.restart();
    loop.run();
    return shown;
  };
  EXPECT_THAT(start(-1), ElementsAre(2, 1, 0));
  EXPECT_THAT(start(1), ElementsAre(2));
  EXPECT_THAT(ends, ElementsAre("finished", "cancelled"));
}

}  // namespace
}  // namespace quillant
