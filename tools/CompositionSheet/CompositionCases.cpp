#include "tools/CompositionSheet/CompositionCases.h"

#include <functional>

#include "Editor/Composition/WallpaperFolder.h"
#include "Editor/Project/BackgroundPresets.h"

namespace quillant {

namespace {

using Scene = CompositionScene;

/// What an editor makes of a new project, but for the wallpaper.
Scene framed() {
  Scene scene;
  scene.styling = {.background = BackgroundPresets::gradients()[12],
                   .paddingRatio = 0.05,
                   .borderRadiusRatio = 0.033,
                   .shadowIntensity = 0.35};
  return scene;
}

/// The same where a shadow would only hide what the case is about.
Scene withoutShadow() {
  Scene scene = framed();
  scene.styling.shadowIntensity = 0;
  return scene;
}

TimelineZoomRegion zoom(double start, double end, double depth, double focusX, double focusY) {
  return {.span = {start, end}, .depth = depth, .focusX = focusX, .focusY = focusY};
}

TimelineClip clip(double start, double end) {
  return {.start = start, .end = end};
}

/// A bubble up to 2 seconds, and the whole picture from there.
std::vector<TimelineClip> growingCamera() {
  auto full = clip(2, 10);
  full.cameraFullScreen = true;
  return {clip(0, 2), full};
}

CaptionRenderPlan captions(TimelineCaptionStyle style) {
  CaptionBlock block{.id = "0-0-4000", .start = 4, .end = 7};
  double start = 4;
  for (const char* word :
       {"Captions", "are", "drawn", "over", "everything,", "and", "the", "zoom", "leaves", "them", "alone."})
    block.words.push_back({word, start, start + 0.2}), start += 0.25;
  block.lines = {{0, 4}, {5, 10}};
  return {{block}, style};
}

class Cases {
 public:
  void add(std::string name, Scene scene, const std::function<void(Scene&)>& change = {}) {
    if (change) change(scene);
    cases_.push_back({std::move(name), std::move(scene)});
  }

  void backdrops() {
    add("unstyled", {});
    add("odd sizes", {}, [](Scene& s) { s.width = 333, s.height = 187; });
    add("padding, corners, shadow", framed());
    add("solid", framed(), [](Scene& s) { s.styling.background = SerializableColor::fromHex("#276FAA"); });
    add("radial gradient", framed(),
        [](Scene& s) { s.styling.background = BackgroundPresets::gradients()[6]; });
    add("wallpaper, blurred", framed(), [](Scene& s) {
      s.styling.background = BackgroundPresets::default_();
      s.styling.backgroundBlurRatio = 0.02;
    });
    add("gradient, blurred", framed(), [](Scene& s) {
      s.styling.background = BackgroundPresets::gradients()[14];
      s.styling.backgroundBlurRatio = 0.04;
    });
    add("transparent, full shadow", framed(), [](Scene& s) {
      s.styling.background = TransparentBackground{};
      s.styling.backgroundBlurRatio = 0.1;
      s.styling.shadowIntensity = 1;
      s.styling.paddingRatio = 0.15;
    });
    add("huge corners", framed(), [](Scene& s) { s.styling.borderRadiusRatio = 2; });
    add("hardly any room", framed(), [](Scene& s) { s.styling.paddingRatio = 0.6; });
  }

  void insets() {
    add("inset", framed(), [](Scene& s) { s.styling.inset.amountRatio = 0.1; });
    add("inset, low right, half seen", framed(), [](Scene& s) {
      s.styling.inset = {.amountRatio = 0.4, .opacity = 0.5, .balance = {1, 0.8}};
      s.styling.shadowIntensity = 0.8;
    });
    add("inset without panel", framed(), [](Scene& s) {
      s.styling.inset = {.amountRatio = 0.3, .opacity = 0};
      s.styling.shadowIntensity = 0.7;
    });
  }

  void sources() {
    add("cropped", withoutShadow(), [](Scene& s) { s.crop = {0.303, 0.111, 0.333, 0.713}; });
    add("tall", withoutShadow(), [](Scene& s) { s.width = 90, s.height = 640; });
    add("wide", withoutShadow(), [](Scene& s) { s.width = 1000, s.height = 40; });
    add("tiny", withoutShadow(), [](Scene& s) { s.width = 10, s.height = 6; });
    add("wide pixels", withoutShadow(), [](Scene& s) { s.width = 480, s.pixelAspect = 4.0 / 3; });
    const AffineTransform turns[] = {{0, 1, -1, 0, 0, 0}, {-1, 0, 0, -1, 0, 0}, {0, -1, 1, 0, 0, 0},
                                     {-1, 0, 0, 1, 0, 0}, {1, 0, 0, -1, 0, 0},  {0, 1, 1, 0, 0, 0},
                                     {0, -1, -1, 0, 0, 0}};
    const char* names[] = {"turned right",
                           "upside down",
                           "turned left",
                           "mirrored",
                           "flipped",
                           "transposed",
                           "transposed the other way"};
    for (int i = 0; i < 7; ++i) add(names[i], withoutShadow(), [&](Scene& s) { s.matrix = turns[i]; });

    using enum PixelFormat;
    using Matrix = ColorEncoding::Matrix;
    using Range = ColorEncoding::Range;
    using Site = ColorEncoding::ChromaSite;
    const std::pair<const char*, std::pair<PixelFormat, ColorEncoding>> formats[] = {
        {"BGRA", {bgra, {}}},
        {"4:2:0, 601, full", {i420, {Matrix::bt601, Range::full, Site::center}}},
        {"4:2:0, 10 bits, top left", {i420x10, {Matrix::bt709, Range::limited, Site::topLeft}}},
        {"4:2:2, 601", {i422, {Matrix::bt601, Range::limited, Site::left}}},
        {"4:2:2, 10 bits, full", {i422x10, {Matrix::bt709, Range::full, Site::left}}},
        {"4:4:4", {i444, {}}},
        {"4:4:4, 10 bits, 601, full", {i444x10, {Matrix::bt601, Range::full, Site::left}}}};
    for (const auto& [name, format] : formats)
      add(name, {}, [&, &kind = format](Scene& s) {
        s.format = kind.first, s.encoding = kind.second;
        s.width = 401, s.height = 225;
      });
  }

  void cursors() {
    for (const char* style : {"system.white", "highlight.ring", "spotlight"})
      add(style, withoutShadow(),
          [&](Scene& s) { s.cursor = CursorOverlaySettings{.size = 3, .styleID = style}; });
    add("cursor outside the crop", withoutShadow(), [](Scene& s) {
      s.cursor = CursorOverlaySettings{.size = 4};
      s.crop = {0.5, 0.5, 0.5, 0.5};
      s.pointer = {0.1, 0.8};
    });
  }

  void cameras() {
    for (const auto& [anchor, text] : rawTexts<FacecamAnchor>)
      add("camera " + std::string(text), withoutShadow(),
          [&, name = std::string(text)](Scene& s) { s.camera = FacecamSettings{.anchor = name}; });
    add("camera with corners", withoutShadow(), [](Scene& s) {
      s.camera = FacecamSettings{
          .shape = "rounded", .size = 40, .cornerRadius = 12, .borderWidth = 9, .borderColor = "#E05A2B"};
    });
    add("camera without border", withoutShadow(), [](Scene& s) {
      s.camera =
          FacecamSettings{.shape = "rounded", .size = 33, .cornerRadius = 0, .borderWidth = 0, .margin = 0};
    });
    for (const double time : {2.05, 2.2, 3.0})
      add("camera at " + std::to_string(time).substr(0, 4), withoutShadow(), [&](Scene& s) {
        s.camera = FacecamSettings{};
        s.clips = growingCamera();
        s.time = time;
      });
  }

  void zooms() {
    const auto all = [](Scene& s) {
      s.camera = FacecamSettings{};
      s.cursor = CursorOverlaySettings{.size = 3};
      s.zooms = {zoom(4, 7, 2, 0.7, 0.6)};
    };
    for (const auto& [name, time] : {std::pair{"zooming in", 4.17}, {"zoomed", 5.5}, {"zooming out", 6.8}})
      add(name, framed(), [&, when = time](Scene& s) { all(s), s.time = when; });
    add("zoomed into a corner", framed(), [](Scene& s) {
      s.zooms = {zoom(4, 7, 4.5, 0, 0)};
      s.styling.inset.amountRatio = 0.1;
    });
    add("growing camera out of a zoom", withoutShadow(), [&](Scene& s) {
      all(s);
      s.clips = growingCamera();
      s.zooms = {zoom(0, 9, 2, 0.4, 0.4)};
      s.time = 2.12;
    });
    add("zoom hands over", withoutShadow(), [](Scene& s) {
      s.zooms = {zoom(2, 5, 2, 0.2, 0.5), zoom(5, 8, 3, 0.8, 0.5)};
      s.time = 5.2;
    });
  }

  void captions() {
    for (const auto& [style, text] : rawTexts<TimelineCaptionStyle>)
      add("captions, " + std::string(text), withoutShadow(), [&, kind = style](Scene& s) {
        s.captions = quillant::captions(kind);
        s.zooms = {zoom(4, 7, 1.6, 0.5, 0.9)};
        s.time = 4.8;
      });
  }

  std::vector<CompositionCase> take() && { return std::move(cases_); }

 private:
  std::vector<CompositionCase> cases_;
};

}  // namespace

std::vector<CompositionCase> compositionCases() {
  Cases cases;
  cases.backdrops();
  cases.insets();
  cases.sources();
  cases.cursors();
  cases.cameras();
  cases.zooms();
  cases.captions();
  return std::move(cases).take();
}

std::shared_ptr<WallpaperImageCache> compositionWallpapers() {
  return std::make_shared<WallpaperImageCache>(wallpaperFolder());
}

}  // namespace quillant
