#include "tools/DemoStage/Portrait.h"

#include <cmath>
#include <numbers>
#include <vector>

#include "tools/DemoStage/Brush.h"

namespace quillant {

namespace {

std::vector<Point> arc(Point center, double width, double height, double from, double to) {
  std::vector<Point> points;
  constexpr int steps = 48;
  for (int i = 0; i <= steps; ++i) {
    const double angle = (from + (to - from) * i / steps) * std::numbers::pi / 180;
    points.push_back({center.x + width / 2 * std::cos(angle), center.y + height / 2 * std::sin(angle)});
  }
  return points;
}

}  // namespace

PixelBufferRef portrait() {
  const auto wall = SerializableColor::fromHex("d7e3e1");
  const auto hair = SerializableColor::fromHex("4a3528");
  const auto skin = SerializableColor::fromHex("e9b996");
  const auto shade = SerializableColor::fromHex("d39f7b");
  const auto dark = SerializableColor::fromHex("33261f");
  Brush brush(1360, 800);
  brush.box({0, 0, 1360, 800}, wall);
  // A window behind, and a shelf.
  brush.box({90, 70, 300, 380}, SerializableColor::fromHex("f4f1e6"), 10);
  brush.box({108, 88, 264, 344}, SerializableColor::fromHex("a9d3e6"));
  brush.box({232, 88, 14, 344}, SerializableColor::fromHex("f4f1e6"));
  brush.box({980, 300, 330, 16}, SerializableColor::fromHex("b08d6a"));
  double x = 1000;
  for (const char* color : {"c8553d", "588b8b", "f2c078", "2f5d73", "93a8ac"}) {
    brush.box({x, 190, 34, 110}, SerializableColor::fromHex(color), 3);
    x += 42;
  }
  brush.area(arc({680, 250}, 360, 400, 0, 360), hair);  // behind the head
  brush.box({500, 250, 360, 230}, hair, 90);
  brush.area(arc({680, 860}, 760, 600, 180, 360), SerializableColor::fromHex("2f7fb5"));  // shoulders
  brush.box({620, 440, 120, 150}, shade, 50);
  brush.area(arc({680, 560}, 220, 110, 0, 180), shade);
  brush.area(arc({680, 330}, 290, 370, 0, 360), skin);
  brush.area(arc({680, 285}, 310, 330, 188, 352), hair);
  for (const double side : {-1.0, 1.0}) {
    brush.disc({680 + side * 62, 330}, 13, dark);
    brush.disc({680 + side * 62 + 4, 325}, 4, {1, 1, 1});
    brush.line(arc({680 + side * 62, 300}, 62, 26, 205, 335), hair, 9);
    brush.disc({680 + side * 92, 398}, 26, {0.9, 0.5, 0.42, 0.28});
  }
  brush.line(arc({680, 368}, 34, 30, 40, 140), shade, 7);
  brush.line(arc({680, 405}, 110, 72, 25, 155), SerializableColor::fromHex("a8443a"), 9);
  return std::move(brush).take();
}

}  // namespace quillant
