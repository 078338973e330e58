#include <cmath>
#include <gtest/gtest.h>

#include "Editor/Composition/FrameComposer.h"
#include "Editor/Composition/VideoCompositorError.h"
#include "Tests/Support/Drawing/PlainRenderer.h"
#include "tools/CompositionSheet/CompositionScene.h"

// What lies over what, and what moves with what: each case would look different in another order of the
// layers.

namespace quillant {
namespace {

constexpr SerializableColor red{0.8, 0.1, 0.1}, green{0.1, 0.7, 0.2}, blue{0.1, 0.2, 0.8}, white{1, 1, 1},
    black{};

PaintedPicture::Painter flat(const SerializableColor& color) {
  return [color](double, double) { return color; };
}

/// A red video, 160 by 90, that fills its canvas; the camera, where there is one, is green.
CompositionScene redVideo() {
  CompositionScene scene{.canvas = {160, 90}, .width = 160, .height = 90, .painter = flat(red)};
  scene.cameraPainter = flat(green);
  return scene;
}

class Shown {
 public:
  explicit Shown(const CompositionScene& scene) {
    FrameComposer composer(nullptr);
    const auto frames = scene.frames();
    frame_ =
        PlainRenderer::render(composer.compose(scene.instruction(), scene.time, frames),
                              static_cast<int>(scene.canvas.width), static_cast<int>(scene.canvas.height));
  }

  double luma(int x, int y) const { return frame_[0].at(x, y); }

  /// Whether a place shows a colour, some blending at edges aside.
  testing::AssertionResult is(Point place, const SerializableColor& color) const {
    const int x = static_cast<int>(place.x), y = static_cast<int>(place.y);
    const double bright = 0.2126 * color.red + 0.7152 * color.green + 0.0722 * color.blue;
    const std::array wanted{16 + 219 * bright, 128 + 224 * (color.blue - bright) / 1.8556,
                            128 + 224 * (color.red - bright) / 1.5748};
    const std::array found{frame_[0].at(x, y), frame_[1].at(x / 2, y / 2), frame_[2].at(x / 2, y / 2)};
    for (int i = 0; i < 3; ++i)
      if (std::abs(found[i] - wanted[i]) > 3)
        return testing::AssertionFailure() << "at " << x << ", " << y << ": plane " << i << " is " << found[i]
                                           << " instead of " << wanted[i];
    return testing::AssertionSuccess();
  }

 private:
  PlainRenderer::Frame frame_;
};

TEST(FrameComposer, LaysPanelOnShadowOnBackdrop) {
  auto scene = redVideo();
  scene.styling = {.background = white,
                   .paddingRatio = 0.2,
                   .borderRadiusRatio = 0.1,
                   .shadowIntensity = 0.4,
                   .inset = {.amountRatio = 0.4, .color = blue, .balance = {0.5, 1}}};
  // The frame is 96 by 54 at (32, 18); what it holds is 57.6 by 32.4 at its lower edge.
  const Shown shown(scene);
  EXPECT_TRUE(shown.is({80, 55}, red));
  EXPECT_TRUE(shown.is({80, 22}, blue));
  EXPECT_TRUE(shown.is({52, 70}, blue)) << "the video's own corners are rounded";
  EXPECT_LT(shown.luma(80, 75), shown.luma(80, 14) - 10) << "the shadow falls downwards";
  EXPECT_NEAR(shown.luma(33, 71), shown.luma(31, 72), 20) << "the panel's corners are rounded";
  scene.styling.inset.opacity = 0.5;
  EXPECT_LT(Shown(scene).luma(80, 24), 0.5 * (shown.luma(80, 24) + 235) - 10) << "its shadow is under it too";
}

TEST(FrameComposer, TakesTheShadowFromWhatIsSeen) {
  auto scene = redVideo();
  scene.styling = {
      .background = white, .paddingRatio = 0.2, .shadowIntensity = 0.5, .inset = {.amountRatio = 0.2}};
  const auto redness = [](const CompositionScene& s) {
    FrameComposer composer(nullptr);
    const auto frames = s.frames();
    const auto frame = PlainRenderer::render(composer.compose(s.instruction(), s.time, frames), 160, 90);
    return frame[2].at(40, 38) - 128;  // below the frame
  };
  EXPECT_NEAR(redness(scene), 0, 1) << "a panel's is black";
  scene.styling.inset.opacity = 0;
  EXPECT_GT(redness(scene), 5) << "without a panel it has the video's colours";
}

TEST(FrameComposer, BlursTheBackdropAlone) {
  auto scene = redVideo();
  scene.styling = {.background = GradientPreset{"", LinearGradient{90}, {{black, 0.5}, {white, 0.5}}},
                   .paddingRatio = 0.25,
                   .backgroundBlurRatio = 0.1};
  const Shown shown(scene);
  EXPECT_NEAR(shown.luma(80, 5), 126, 12);
  EXPECT_TRUE(shown.is({2, 5}, black) && shown.is({157, 5}, white)) << "its edges go on";
  EXPECT_TRUE(shown.is({80, 24}, red)) << "the video is sharp";
  scene.styling.background = white;
  EXPECT_TRUE(Shown(scene).is({0, 0}, white));
  scene.styling.background = TransparentBackground{};
  EXPECT_TRUE(Shown(scene).is({80, 20}, black)) << "of what is transparent, nothing spreads";
}

TEST(FrameComposer, ZoomsBackdropVideoCursorAndBubbleAndNotWhatIsOverThem) {
  auto scene = redVideo();
  scene.styling = {.background = blue, .paddingRatio = 0.2};
  scene.cursor = CursorOverlaySettings{.size = 1, .styleID = "touch.dot"};
  scene.pointer = {0.75, 0.5};
  scene.camera = FacecamSettings{
      .shape = "square", .size = 20, .cornerRadius = 0, .borderWidth = 0, .margin = 0, .anchor = "left"};
  const Point cursor{104, 45}, bubble{9, 45};
  const Shown still(scene);
  EXPECT_TRUE(still.is(cursor, white) && still.is(bubble, green) && still.is({28, 45}, blue));

  scene.zooms = {{.span = {0, 10}, .depth = 2, .focusX = 0.25, .focusY = 0.5}};
  scene.time = 5;
  const auto zoomed = [](Point place) { return Point{40 + 2 * (place.x - 40), 45 + 2 * (place.y - 45)}; };
  const Shown shown(scene);
  // All of it as it was, about the focus and at twice the size.
  EXPECT_TRUE(shown.is({16, 45}, blue) && shown.is({28, 45}, red)) << "the backdrop's edge was at 32";
  EXPECT_FALSE(shown.is(cursor, white));
  EXPECT_TRUE(shown.is({zoomed({76, 45}).x, 45}, red) && !shown.is(bubble, green)) << "the bubble has left";
  scene.pointer = {0.4, 0.5};
  EXPECT_TRUE(Shown(scene).is(zoomed({70.4, 45}), white));

  scene.cursor.reset();
  // Half grown it is where it would be without a zoom: at (0, 18), 89 by 54. A seam starts the zoom anew.
  TimelineClip full{.start = 5, .end = 10, .cameraFullScreen = true};
  scene.clips = {{.start = 0, .end = 5}, full};
  scene.time = 5.2;
  const Shown growing(scene);
  EXPECT_TRUE(growing.is({86, 45}, green) && growing.is({92, 45}, red) && growing.is({16, 14}, blue));
  scene.time = 6;
  EXPECT_TRUE(Shown(scene).is({80, 5}, green) && Shown(scene).is({0, 0}, green)) << "up to its corners";
}

TEST(FrameComposer, LaysTheCameraOverTheCursorOverTheVideo) {
  auto scene = redVideo();
  scene.cursor = CursorOverlaySettings{.size = 2, .styleID = "touch.dot"};
  EXPECT_TRUE(Shown(scene).is({80, 45}, white));
  scene.camera = FacecamSettings{.size = 40, .borderWidth = 6, .borderColor = "#1A33CC", .anchor = "center"};
  const Shown shown(scene);
  EXPECT_TRUE(shown.is({80, 45}, green));
  EXPECT_TRUE(shown.is({80, 30}, blue)) << "the border is inside the bubble";
  EXPECT_TRUE(shown.is({65, 30}, red)) << "a circle has corners";
}

TEST(FrameComposer, LaysCaptionsOverEverythingAndLeavesThemOutOfTheZoom) {
  auto scene = redVideo();
  scene.captions.blocks = {{.start = 4, .end = 9, .words = {{"read", 4, 9}}, .lines = {{0, 0}}}};
  scene.camera = FacecamSettings{};
  const auto caption = [](const CompositionScene& s) {
    FrameComposer composer(nullptr);
    const auto frames = s.frames();
    return composer.compose(s.instruction(), s.time, frames).back();
  };
  const Image still = caption(scene);
  EXPECT_EQ(std::get<PixelBufferRef>(still.source)->format, PixelFormat::premultipliedBGRA);
  scene.zooms = {{.span = {0, 10}, .depth = 2}};
  EXPECT_EQ(caption(scene), still);
  scene.clips = {{.start = 0, .end = 10, .cameraFullScreen = true}};
  EXPECT_EQ(caption(scene), still) << "over a camera that fills the canvas";
  scene.time = 3;
  EXPECT_NE(caption(scene), still);
}

TEST(FrameComposer, LaysAnnotationsOverTheCameraAndZoomsThem) {
  auto scene = redVideo();
  scene.annotations = {{.span = {2, 8}, .text = "this", .x = 0.5, .y = 1, .fontSize = 10}};
  const auto darkened = [](SerializableColor color) {
    return SerializableColor{color.red * 0.38, color.green * 0.38, color.blue * 0.38};
  };
  // 72 hundredths of the canvas wide and 34 high, pushed back from beyond its lower edge.
  const Shown still(scene);
  EXPECT_TRUE(still.is({40, 58}, darkened(red)) && still.is({30, 73}, darkened(red)));
  EXPECT_TRUE(still.is({40, 53}, red) && still.is({20, 73}, red));
  scene.zooms = {{.span = {0, 10}, .depth = 1.25, .focusX = 0.5, .focusY = 1}};
  EXPECT_TRUE(Shown(scene).is({40, 53}, darkened(red)) && Shown(scene).is({40, 46}, red));
  scene.zooms.clear();
  scene.camera = FacecamSettings{};
  scene.clips = {{.start = 0, .end = 10, .cameraFullScreen = true}};
  EXPECT_TRUE(Shown(scene).is({40, 58}, darkened(green)));
  scene.time = 2.24;  // half of what it takes to come
  const double coming = Shown(scene).luma(40, 58);
  scene.time = 1.9;
  const double before = Shown(scene).luma(40, 58);
  EXPECT_NEAR(coming, before - 0.31 * (before - 16), 1);
  EXPECT_TRUE(Shown(scene).is({40, 58}, green));
}

TEST(FrameComposer, TurnsThenCropsThenFits) {
  // Red, green, blue and white quarters, turned to the right: blue comes to the upper left.
  auto scene = redVideo();
  scene.painter = [](double x, double y) {
    return y < 45 ? (x < 80 ? red : green) : (x < 80 ? blue : white);
  };
  scene.matrix = {0, 1, -1, 0, 0, 0};
  scene.format = PixelFormat::i444;
  scene.canvas = {90, 160};
  const Shown turned(scene);
  EXPECT_TRUE(turned.is({5, 5}, blue) && turned.is({85, 5}, red) && turned.is({5, 155}, white));
  scene.crop = {0.5, 0.5, 0.5, 0.5};
  const Shown cropped(scene);
  EXPECT_TRUE(cropped.is({0, 0}, green) && cropped.is({89, 159}, green)) << "nothing of its neighbours";
  scene.styling.paddingRatio = 0.1;
  const Shown padded(scene);
  EXPECT_TRUE(padded.is({45, 5}, black) && padded.is({45, 20}, green));
}

TEST(FrameComposer, KeepsAFrameComingAtASeam) {
  using Kind = VideoCompositorError::Kind;
  const auto kindOf = [](auto call) {
    try {
      call();
    } catch (const VideoCompositorError& error) {
      return error.kind;
    }
    return Kind::renderFailed;
  };
  // Half a second of the recording, then an added file; track 3 is the added file's.
  auto scene = redVideo();
  TimelineEditSnapshot edits;
  edits.clipList =
      CopyOnWriteVector<TimelineClip>({{.start = 0, .end = 0.5}, {.start = 0, .end = 9, .source = "added"}});
  auto main = *scene.instruction();
  main.edit = std::make_shared<PreparedEdit>(
      edits, std::vector<PreparedEdit::Source>{{.duration = 10}, {.id = "added", .duration = 9}},
      std::nullopt, CaptionRenderPlan{});
  auto added = main;
  added.source = 1, added.sourceTrackID = 3, added.cropRect = {0, 0, 80, 90};
  main.sourceInstructions = {nullptr, std::make_shared<const VideoBackgroundCompositionInstruction>(added)};
  const auto instruction = std::make_shared<const VideoBackgroundCompositionInstruction>(main);

  FrameComposer composer(nullptr);
  const auto picture = scene.frames()[0].picture;
  const std::vector<TrackFrame> both{{1, picture}, {3, picture}}, mainOnly{{1, picture}}, other{{7, picture}};
  const auto cropWidth = [&](double time, const std::vector<TrackFrame>& frames) {
    return composer.compose(instruction, time, frames).back().crop.width;
  };
  EXPECT_EQ(cropWidth(0.2, both), 160);
  EXPECT_EQ(cropWidth(0.5, both), 80) << "a seam is the later file's";
  EXPECT_EQ(cropWidth(0.5, mainOnly), 160) << "which gives way to one that has a picture";
  EXPECT_EQ(cropWidth(0.2, {{3, picture}}), 80);
  EXPECT_EQ(kindOf([&] { composer.compose(instruction, 1, other); }), Kind::missingSourceFrame);
  EXPECT_EQ(kindOf([&] { composer.compose(nullptr, 1, both); }), Kind::missingInstruction);
  const auto required = instruction->requiredPictures(1.5);
  EXPECT_EQ(required.sourceTrackID, 3);
  EXPECT_DOUBLE_EQ(required.sourceTime, 1);
}

}  // namespace
}  // namespace quillant
