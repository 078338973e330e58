#include <charconv>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "Core/Error.h"
#include "DrawKit/Canvas.h"
#include "DrawKit/PNGImage.h"
#include "DrawKit/TextOutline.h"
#include "Editor/Composition/VideoBackgroundCompositor.h"
#include "tools/CompositionSheet/CompositionCases.h"
#include "tools/CompositionSheet/PaintedPicture.h"
#include "tools/CompositionSheet/Program/CaptionSheet.h"

// Composes the named cases and puts their frames on one picture, each with its name below it; or draws
// captions in many scripts.

namespace {

using namespace quillant;

constexpr std::size_t columns = 6;
constexpr double gap = 10;
constexpr double nameHeight = 18;

PixelBufferRef composed(const CompositionScene& scene, VideoBackgroundCompositor& compositor) {
  const auto frames = scene.frames();
  return compositor.startRequest({.instruction = scene.instruction(), .time = scene.time, .frames = frames});
}

PixelBufferRef sheet(const std::vector<CompositionCase>& cases) {
  const Size cell{320 + gap, 180 + gap + nameHeight};
  const std::size_t rows = (cases.size() + columns - 1) / columns;
  Canvas canvas(static_cast<int>(columns * cell.width + gap),
                static_cast<int>(static_cast<double>(rows) * cell.height + gap));
  canvas.fill(
      Path().rectangle({0, 0, columns * cell.width + gap, static_cast<double>(rows) * cell.height + gap}),
      {0.9, 0.9, 0.91});
  VideoBackgroundCompositor compositor({.wallpapers = compositionWallpapers()});
  for (std::size_t i = 0; i < cases.size(); ++i) {
    const Point corner{gap + static_cast<double>(i % columns) * cell.width,
                       gap + static_cast<double>(i / columns) * cell.height};
    const auto frame = composed(cases[i].scene, compositor);
    canvas.draw(*PaintedPicture::toBGRA(*frame), corner);
    const std::string_view name = cases[i].name;
    const auto text = TextOutline::of({&name, 1}, {.size = 11});
    const Point baseline{corner.x, corner.y + frame->height + 13};
    canvas.translate(baseline.x, baseline.y);
    canvas.fill(text.parts.front(), {0.1, 0.1, 0.1});
    canvas.translate(-baseline.x, -baseline.y);
  }
  return std::move(canvas).take();
}

/// The cases whose names begin so, as large as people look at them.
std::vector<CompositionCase> chosen(std::string_view beginning, double width) {
  std::vector<CompositionCase> result;
  for (auto& one : compositionCases())
    if (std::string_view(one.name).starts_with(beginning)) result.push_back(std::move(one));
  for (auto& one : result)
    one.scene.canvas = {width, width * one.scene.canvas.height / one.scene.canvas.width};
  return result;
}

int usage() {
  std::fputs(
      "usage: composition-sheet <file.png> [<name of a case>]\n"
      "       composition-sheet <file.png> captions box|outline|plain <height of a frame>\n",
      stderr);
  return 2;
}

int writeCases(const char* file, std::string_view beginning) {
  const auto cases = chosen(beginning, 1920);
  if (cases.empty()) {
    std::fprintf(stderr, "composition-sheet: there is no case “%s”\n", std::string(beginning).c_str());
    return 2;
  }
  VideoBackgroundCompositor compositor({.wallpapers = compositionWallpapers()});
  PNGImage::write(*PaintedPicture::toBGRA(*composed(cases.front().scene, compositor)), file);
  return 0;
}

int writeCaptions(const char* file, std::string_view styleName, std::string_view height) {
  const auto style = fromRawText<TimelineCaptionStyle>(styleName);
  int pixels = 0;
  std::from_chars(height.data(), height.data() + height.size(), pixels);
  if (!style || pixels < 100) return usage();
  PNGImage::write(*captionSheet(*style, pixels), file);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc == 5 && std::string_view(argv[2]) == "captions") return writeCaptions(argv[1], argv[3], argv[4]);
    if (argc == 3) return writeCases(argv[1], argv[2]);
    if (argc != 2) return usage();
    PNGImage::write(*sheet(compositionCases()), argv[1]);
    return 0;
  } catch (const Error& error) {
    std::fprintf(stderr, "composition-sheet: %s\n", error.description().c_str());
    return 1;
  }
}
