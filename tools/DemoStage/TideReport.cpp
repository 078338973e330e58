#include "tools/DemoStage/TideReport.h"

#include <cmath>
#include <numbers>
#include <string>
#include <string_view>
#include <vector>

#include "tools/DemoStage/Brush.h"

namespace quillant::TideReport {

namespace {

constexpr int height = 2060;
constexpr double margin = 76;

const SerializableColor ink = SerializableColor::fromHex("1f2933");
const SerializableColor faint = SerializableColor::fromHex("7b8794");
const SerializableColor rule = SerializableColor::fromHex("e4e7eb");
const SerializableColor water = SerializableColor::fromHex("2f7fb5");
const SerializableColor sand = SerializableColor::fromHex("d9822b");

const Font body{"Inter", 21};
const Font small{"Inter", 17};
const Font smallBold{"Inter", 17, true};
constexpr double lineHeight = 33;

/// Metres above datum; springs towards the end of the week.
double level(double day) {
  const double range = 1.25 + 0.55 * std::sin((day - 1.5) / 7 * std::numbers::pi);
  return 2.6 + range * std::sin(2 * std::numbers::pi * day / 0.5175);
}

double heading(Brush& brush, std::string_view words, double y) {
  brush.text(words, {margin, y}, {"Inter", 30, true}, ink);
  return y + 46;
}

double curve(Brush& brush, const Rect& plot) {
  const auto place = [&](double day) {
    return Point{plot.x + day / 7 * plot.width, plot.maxY() - level(day) / 5 * plot.height};
  };
  for (const int metres : {0, 1, 2, 3, 4, 5}) {
    const double y = plot.maxY() - metres / 5.0 * plot.height;
    brush.box({plot.x, y, plot.width, 1}, rule);
    brush.text(std::to_string(metres) + " m", {plot.x - 14, y + 6}, small, faint, Align::right);
  }
  std::vector<Point> points;
  for (int i = 0; i <= 700; ++i) points.push_back(place(i / 100.0));
  auto filled = points;
  filled.push_back({plot.maxX(), plot.maxY()});
  filled.push_back({plot.x, plot.maxY()});
  auto wash = water;
  wash.alpha = 0.14;
  brush.area(filled, wash);
  brush.line(points, water, 3);
  constexpr std::string_view days[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
  for (int day = 0; day < 7; ++day)
    brush.text(days[day], {plot.x + (day + 0.5) / 7 * plot.width, plot.maxY() + 30}, small, faint,
               Align::center);
  for (const double peak : {3.23, 4.27, 5.31}) {
    const double crest = std::round(peak / 0.5175 - 0.25) * 0.5175 + 0.129;
    brush.disc(place(crest), 7, sand);
  }
  return plot.maxY() + 84;
}

double table(Brush& brush, int width, double y) {
  struct Row {
    std::string_view day, morning, evening, highest;
  };
  constexpr Row rows[] = {
      {"Monday 17", "05:12", "17:38", "4.1 m"},    {"Tuesday 18", "05:58", "18:21", "4.2 m"},
      {"Wednesday 19", "06:40", "19:02", "4.3 m"}, {"Thursday 20", "07:21", "19:43", "4.4 m"},
      {"Friday 21", "08:03", "20:24", "4.4 m"},    {"Saturday 22", "08:46", "21:07", "4.3 m"},
      {"Sunday 23", "09:32", "21:54", "4.1 m"}};
  const double columns[] = {margin + 18, margin + 330, margin + 530, width - margin - 18};
  const auto write = [&](const Row& row, const Font& font, const SerializableColor& color) {
    brush.text(row.day, {columns[0], y}, font, color);
    brush.text(row.morning, {columns[1], y}, font, color);
    brush.text(row.evening, {columns[2], y}, font, color);
    brush.text(row.highest, {columns[3], y}, font, color, Align::right);
  };
  write({"Day", "Morning", "Evening", "Highest"}, smallBold, faint);
  y += 18;
  brush.box({margin, y, width - 2 * margin, 2}, rule);
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    if (i % 2 == 0)
      brush.box({margin, y + 2, width - 2 * margin, 48}, SerializableColor::fromHex("f5f7fa"), 6);
    y += 33;
    write(rows[i], body, ink);
    y += 15;
  }
  return y + 72;
}

double bars(Brush& brush, int width, double y) {
  constexpr std::string_view names[] = {"North pier", "Lock gate", "Marsh outfall", "Old bridge"};
  constexpr double shares[] = {0.96, 0.88, 0.71, 0.93};
  const double full = width - 2 * margin - 280;
  for (std::size_t i = 0; i < std::size(names); ++i) {
    brush.text(names[i], {margin, y + 21}, body, ink);
    brush.box({margin + 190, y + 2, full, 24}, rule, 12);
    brush.box({margin + 190, y + 2, full * shares[i], 24}, shares[i] < 0.8 ? sand : water, 12);
    brush.text(std::to_string(std::lround(shares[i] * 100)) + " %", {width - margin, y + 21}, body, faint,
               Align::right);
    y += 46;
  }
  return y + 42;
}

}  // namespace

PixelBufferRef page(int width) {
  Brush brush(width, height);
  brush.box({0, 0, static_cast<double>(width), height}, {1, 1, 1});
  const double inner = width - 2 * margin;
  double y = 96;
  brush.text("Tides in week 34", {margin, y}, {"Inter", 46, true}, ink);
  y += 42;
  brush.text("Saltmarsh Harbour  ·  17 to 23 August", {margin, y}, body, faint);
  y += 62;
  y = brush.paragraph(
      "Springs fall on Thursday this week. With a steady wind from the west the evening tides of the 20th "
      "and 21st may stand twenty centimetres above the table, and the quay at the lock will be wet.",
      {margin, y}, inner, lineHeight, body, ink);
  y = curve(brush, {margin + 58, y + 14, inner - 58, 270});
  y = heading(brush, "High water", y);
  y = table(brush, width, y);
  y = heading(brush, "How well the stations were heard", y);
  y = bars(brush, width, y);
  y = heading(brush, "Notes", y);
  for (const std::string_view note :
       {"The gauge at the marsh outfall was cleaned on Tuesday. Its readings before noon are left out of the "
        "fit, and the curve above follows the other three.",
        "Boats that draw more than two metres should leave the inner basin within an hour and a half of high "
        "water. The harbour office opens the lock twice a day and answers on channel 12.",
        "All times are local. Heights are above the harbour's datum, which lies 2.6 metres below mean water; "
        "they are rounded to ten centimetres, since wind moves them by more than that."})
    y = brush.paragraph(note, {margin, y}, inner, lineHeight, body, ink) + 20;
  return std::move(brush).take();
}

}  // namespace quillant::TideReport
