#include "tools/DemoStage/StageScene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <string_view>
#include <utility>

#include "tools/DemoStage/Brush.h"
#include "tools/DemoStage/TideReport.h"

namespace quillant {

namespace {

constexpr double panelHeight = 40;
constexpr double titleHeight = 56;
constexpr Rect document{70, 92, 1060, 924};
constexpr Rect content{document.x, document.y + titleHeight, document.width,
                       document.height - titleHeight - 14};
constexpr Rect publish{document.x + document.width - 172, document.y + 10, 152, 36};
constexpr Rect terminal{1180, 150, 670, 560};
constexpr Rect screen{terminal.x + 22, terminal.y + titleHeight, terminal.width - 44,
                      terminal.height - titleHeight - 16};
constexpr Rect dialog{640, 400, 640, 270};
constexpr double dialogMargin = 60;  ///< For its shadow.
constexpr Rect cancel{dialog.x + 300, dialog.y + 200, 140, 46};
constexpr Rect confirm{dialog.x + 456, dialog.y + 200, 160, 46};

constexpr double notch = 110;         ///< Pixels that the wheel moves the page.
constexpr double keystroke = 0.055;   ///< Seconds.
constexpr double answerPause = 0.35;  ///< Seconds.
constexpr double terminalLine = 32;

const SerializableColor accent = SerializableColor::fromHex("2f7fb5");
const SerializableColor accentPressed = SerializableColor::fromHex("215d86");
const SerializableColor done = SerializableColor::fromHex("3a8f5c");
const SerializableColor ink = SerializableColor::fromHex("1f2933");
const SerializableColor faint = SerializableColor::fromHex("7b8794");
const SerializableColor paper = SerializableColor::fromHex("f5f7fa");
const SerializableColor night = SerializableColor::fromHex("17212b");

constexpr std::string_view command = "tides report --week 34";
struct Answer {
  std::string_view text;
  const char* color;
};
constexpr std::array<Answer, 9> answers{{{"reading 4 stations", "9fb3c8"},
                                         {"  north pier      1008 samples", "d9e2ec"},
                                         {"  lock gate       1008 samples", "d9e2ec"},
                                         {"  marsh outfall    716 samples", "f0b429"},
                                         {"  old bridge      1008 samples", "d9e2ec"},
                                         {"fitting 37 constituents", "9fb3c8"},
                                         {"  largest residual   0.04 m", "d9e2ec"},
                                         {"writing week-34.html", "9fb3c8"},
                                         {"done", "65d6ad"}}};

PixelRect pixels(const Rect& rect) {
  return {static_cast<int>(rect.x), static_cast<int>(rect.y), static_cast<int>(rect.width),
          static_cast<int>(rect.height)};
}

Brush brushFor(const Rect& area) {
  return {static_cast<int>(area.width), static_cast<int>(area.height)};
}

/// Rows of a picture, sharing its memory.
PixelBuffer rows(const PixelBuffer& picture, int first, int count) {
  auto part = picture;
  part.planes[0].data += std::ptrdiff_t{first} * picture.planes[0].stride;
  part.height = count;
  return part;
}

void windowFrame(Brush& brush, const Rect& window, const SerializableColor& bar,
                 const SerializableColor& inside, std::string_view title,
                 const SerializableColor& titleColor) {
  constexpr double radius = 14, shadow = 60;
  Brush body(static_cast<int>(window.width + 2 * shadow), static_cast<int>(window.height + 2 * shadow));
  body.box({shadow, shadow, window.width, window.height}, inside, radius);
  body.box({shadow, shadow, window.width, titleHeight}, bar, radius);
  body.box({shadow, shadow + titleHeight - radius, window.width, radius}, bar);
  body.box({shadow, shadow + titleHeight - 1, window.width, 1}, {0, 0, 0, 0.1});
  body.text(title, {shadow + 24, shadow + 35}, {"Inter", 19, true}, titleColor);
  body.castShadow({{0, 12}, 46, {0.02, 0.06, 0.1, 0.42}});
  brush.put(*std::move(body).take(), {window.x - shadow, window.y - shadow});
}

/// Evening over the sea, with everything on it that never changes.
PixelBufferRef paintDesktop() {
  Brush brush(StageScene::width, StageScene::height);
  const auto top = SerializableColor::fromHex("35577d"), bottom = SerializableColor::fromHex("e9a17c");
  for (int y = 0; y < StageScene::height; ++y) {
    const double t = static_cast<double>(y) / StageScene::height;
    brush.box({0, static_cast<double>(y), StageScene::width, 1},
              {std::lerp(top.red, bottom.red, t), std::lerp(top.green, bottom.green, t),
               std::lerp(top.blue, bottom.blue, t)});
  }
  const char* waves[] = {"4d6f92", "3b5f86", "2c4f78", "1f4068"};
  for (int wave = 0; wave < 4; ++wave) {
    std::vector<Point> shore{{0, StageScene::height}};
    for (int x = 0; x <= StageScene::width; x += 6)
      shore.push_back({static_cast<double>(x),
                       700.0 + wave * 92 + (34 - wave * 4) * std::sin(x / (210.0 + 36 * wave) + wave * 1.7)});
    shore.push_back({StageScene::width, StageScene::height});
    brush.area(shore, SerializableColor::fromHex(waves[wave], 0.88));
  }
  brush.box({0, 0, StageScene::width, panelHeight}, {0.06, 0.1, 0.15, 0.78});
  brush.text("Harbour office", {24, 27}, {"Inter", 18, true}, {1, 1, 1, 0.95});
  brush.text("Thu 20 Aug   14:05", {StageScene::width - 24, 27}, {"Inter", 18}, {1, 1, 1, 0.9}, Align::right);
  windowFrame(brush, document, paper, {1, 1, 1}, "week-34.html", ink);
  windowFrame(brush, terminal, SerializableColor::fromHex("243442"), night, "Terminal",
              SerializableColor::fromHex("cbd2d9"));
  return std::move(brush).take();
}

}  // namespace

StageScene::StageScene()
    : desktop_(paintDesktop()), page_(TideReport::page(static_cast<int>(content.width))) {
  drawButton();
  drawTerminal();
  drawDialog();
  stale_.clear();
}

void StageScene::redraw(const Rect& area) {
  stale_.push_back(pixels(area));
}

void StageScene::drawButton() {
  auto brush = brushFor(publish);
  const auto color = isPublished_ ? done : pressed_ == Button::open ? accentPressed : accent;
  brush.box({0, 0, publish.width, publish.height}, color, 9);
  brush.text(isPublished_ ? "Published" : "Publish", {publish.width / 2, 24}, {"Inter", 17, true}, {1, 1, 1},
             Align::center);
  button_ = std::move(brush).take();
  redraw(publish);
}

void StageScene::drawTerminal() {
  auto brush = brushFor(screen);
  const Font font{"JetBrains Mono", 20};
  double y = 40;
  const auto prompt = [&](std::string_view words) {
    const double start = brush.text("mira@harbour", {0, y}, font, SerializableColor::fromHex("65d6ad")) + 12;
    const double end = start + brush.text("$ ", {start, y}, font, SerializableColor::fromHex("9fb3c8")) +
                       brush.text(words, {start + 24, y}, font, SerializableColor::fromHex("f5f7fa"));
    brush.box({end + 2, y - 19, 11, 25}, SerializableColor::fromHex("f5f7fa", typingSince_ ? 0.95 : 0.45));
    y += terminalLine;
  };
  const bool isAnswered = answered_ == answers.size();
  if (answered_ == 0) {
    prompt(command.substr(0, typed_));
  } else {
    const double start = brush.text("mira@harbour", {0, y}, font, SerializableColor::fromHex("65d6ad")) + 12;
    brush.text("$ ", {start, y}, font, SerializableColor::fromHex("9fb3c8"));
    brush.text(command, {start + 24, y}, font, SerializableColor::fromHex("f5f7fa"));
    y += terminalLine;
  }
  for (std::size_t i = 0; i < answered_; ++i, y += terminalLine)
    brush.text(answers[i].text, {0, y}, font, SerializableColor::fromHex(answers[i].color));
  if (isAnswered) prompt("");
  terminal_ = std::move(brush).take();
  redraw(screen);
}

void StageScene::drawDialog() {
  const Rect area{dialog.x - dialogMargin, dialog.y - dialogMargin, dialog.width + 2 * dialogMargin,
                  dialog.height + 2 * dialogMargin};
  auto brush = brushFor(area);
  const auto inside = [&](Rect rect) {
    rect.x -= area.x;
    rect.y -= area.y;
    return rect;
  };
  const auto body = inside(dialog);
  brush.box(body, {1, 1, 1}, 18);
  brush.castShadow({{0, 16}, 54, {0.02, 0.05, 0.09, 0.55}});
  brush.text("Publish the report?", {body.x + 36, body.y + 62}, {"Inter", 28, true}, ink);
  brush.paragraph(
      "Everybody on the harbour's list gets a link to week 34. You can change the page afterwards.",
      {body.x + 36, body.y + 106}, body.width - 72, 32, {"Inter", 21}, SerializableColor::fromHex("52606d"));
  const auto button = [&](Rect at, std::string_view name, const SerializableColor& color,
                          const SerializableColor& text) {
    at = inside(at);
    brush.box(at, color, 11);
    brush.text(name, {at.center().x, at.center().y + 7}, {"Inter", 20, true}, text, Align::center);
  };
  button(cancel, "Cancel", SerializableColor::fromHex(pressed_ == Button::cancel ? "cbd2d9" : "e4e7eb"), ink);
  button(confirm, "Publish", pressed_ == Button::confirm ? accentPressed : accent, {1, 1, 1});
  dialog_ = std::move(brush).take();
  redraw(area);
}

StageScene::Button StageScene::buttonAt(Point place) const {
  if (asks_)
    return cancel.contains(place) ? Button::cancel : confirm.contains(place) ? Button::confirm : Button::none;
  return publish.contains(place) && !isPublished_ ? Button::open : Button::none;
}

void StageScene::press(Point place, double now) {
  pressed_ = buttonAt(place);
  if (asks_)
    drawDialog();
  else if (pressed_ == Button::open)
    drawButton();
  else if (terminal.contains(place) && !typingSince_)
    typingSince_ = now;
}

void StageScene::release(Point place) {
  const auto clicked = buttonAt(place) == pressed_ ? pressed_ : Button::none;
  pressed_ = Button::none;
  if (clicked == Button::open) asks_ = true;
  if (clicked == Button::cancel || clicked == Button::confirm) asks_ = false;
  if (clicked == Button::confirm) isPublished_ = true;
  drawButton();
  drawDialog();
}

void StageScene::turn(Point place, int notches) {
  if (asks_ || !content.contains(place)) return;
  scrollTarget_ = std::clamp(scrollTarget_ + notches * notch, 0.0, page_->height - content.height);
}

std::vector<PixelRect> StageScene::advance(double now) {
  if (scrolled_ != scrollTarget_) {
    const double step = (scrollTarget_ - scrolled_) / 6;
    scrolled_ = std::abs(step) < 0.2 ? scrollTarget_ : scrolled_ + step;
    redraw(content);
  }
  if (typingSince_ && answered_ < answers.size()) {
    const double since = now - *typingSince_;
    const auto typed = std::min(static_cast<std::size_t>(since / keystroke), command.size());
    const double waited = since - static_cast<double>(command.size()) * keystroke;
    const auto answered =
        waited < 0 ? 0 : std::min(static_cast<std::size_t>(waited / answerPause), answers.size());
    if (typed != typed_ || answered != answered_) {
      typed_ = typed;
      answered_ = answered;
      drawTerminal();
    }
  }
  return std::exchange(stale_, {});
}

PixelBufferRef StageScene::compose(const PixelRect& area) const {
  Canvas canvas(area.width, area.height);
  const auto put = [&](const PixelBuffer& picture, Point corner) {
    canvas.draw(picture, {corner.x - area.x, corner.y - area.y});
  };
  put(*desktop_, {0, 0});
  put(rows(*page_, static_cast<int>(std::lround(scrolled_)), static_cast<int>(content.height)),
      {content.x, content.y});
  put(*button_, {publish.x, publish.y});
  put(*terminal_, {screen.x, screen.y});
  if (asks_) put(*dialog_, {dialog.x - dialogMargin, dialog.y - dialogMargin});
  return std::move(canvas).take();
}

}  // namespace quillant
