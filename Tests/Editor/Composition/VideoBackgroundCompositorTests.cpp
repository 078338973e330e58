#include <future>
#include <gtest/gtest.h>
#include <limits>

#include "Editor/Composition/VideoBackgroundCompositor.h"
#include "Editor/Composition/VideoCompositorError.h"
#include "Editor/Project/BackgroundPresets.h"
#include "Tests/Support/Allocations/Allocations.h"
#include "Tests/Support/Drawing/PlainRenderer.h"
#include "tools/CompositionSheet/CompositionCases.h"

namespace quillant {
namespace {

PixelBufferRef composed(VideoBackgroundCompositor& compositor, const CompositionScene& scene) {
  const auto frames = scene.frames();
  return compositor.startRequest({.instruction = scene.instruction(), .time = scene.time, .frames = frames});
}

std::vector<std::uint8_t> bytesOf(const PixelBuffer& frame) {
  std::vector<std::uint8_t> bytes;
  for (int plane = 0; plane < 3; ++plane)
    for (int y = 0; y < (plane > 0 ? frame.height / 2 : frame.height); ++y) {
      const auto* row = frame.planes[plane].data + std::ptrdiff_t{y} * frame.planes[plane].stride;
      bytes.insert(bytes.end(), row, row + (plane > 0 ? frame.width / 2 : frame.width));
    }
  return bytes;
}

TEST(VideoBackgroundCompositor, ComposesEveryCaseAsThePlainRendererDoes) {
  VideoBackgroundCompositor compositor({.threads = 2, .wallpapers = compositionWallpapers()});
  FrameComposer composer(compositionWallpapers());
  double worstLuma = 100, worstChroma = 100;
  for (auto& [name, scene] : compositionCases()) {
    scene.canvas = {192, 108};
    const auto frame = composed(compositor, scene);
    const auto frames = scene.frames();
    const auto plain =
        PlainRenderer::render(composer.compose(scene.instruction(), scene.time, frames), 192, 108);
    const auto agreement = PlainRenderer::compare(*frame, plain);
    EXPECT_GE(agreement.luma, 50) << name;
    EXPECT_GE(agreement.chroma, 45) << name;
    worstLuma = std::min(worstLuma, agreement.luma), worstChroma = std::min(worstChroma, agreement.chroma);
  }
  RecordProperty("worstLuma", std::to_string(worstLuma));
  RecordProperty("worstChroma", std::to_string(worstChroma));
}

TEST(VideoBackgroundCompositor, KeepsFlatColoursWithinOne) {
  VideoBackgroundCompositor compositor({});
  for (const auto& color :
       {SerializableColor{0.15, 0.43, 0.67}, SerializableColor{1, 0, 0}, SerializableColor{1, 1, 1},
        SerializableColor{0, 1, 1}, SerializableColor{0, 0, 0}}) {
    CompositionScene scene{.painter = [color](double, double) { return color; }};
    scene.styling = {.background = color,
                     .paddingRatio = 0.1,
                     .borderRadiusRatio = 0.05,
                     .backgroundBlurRatio = 0.01,
                     .inset = {.amountRatio = 0.1, .color = color}};
    scene.zooms = {{.span = {0, 10}, .depth = 1.7}};
    scene.format = PixelFormat::bgra;
    const auto frame = composed(compositor, scene);
    const double luma = 0.2126 * color.red + 0.7152 * color.green + 0.0722 * color.blue;
    const double wanted[] = {16 + 219 * luma, 128 + 224 * (color.blue - luma) / 1.8556,
                             128 + 224 * (color.red - luma) / 1.5748};
    for (int plane = 0; plane < 3; ++plane)
      for (int y = 0; y < 180; y += 2)
        for (int x = 0; x < 320; x += 2) {
          const int half = plane > 0 ? 2 : 1;
          ASSERT_NEAR(frame->planes[plane].data[frame->planes[plane].stride * (y / half) + x / half],
                      wanted[plane], 1)
              << x << ", " << y << " of plane " << plane;
        }
  }
}

TEST(VideoBackgroundCompositor, MakesAFrameTheSameWhateverWasComposedBefore) {
  // Forward with one compositor, each frame alone with another: what is kept, and what is said to have
  // changed, must not show.
  CompositionScene scene;
  scene.styling = {.background = SerializableColor{0.2, 0.4, 0.6},
                   .paddingRatio = 0.06,
                   .borderRadiusRatio = 0.04,
                   .shadowIntensity = 0.5};
  scene.cursor = CursorOverlaySettings{.size = 3};
  scene.camera = FacecamSettings{};
  scene.zooms = {{.span = {1, 3}, .depth = 2}};
  TimelineClip full{.start = 2, .end = 10, .cameraFullScreen = true};
  scene.clips = {{.start = 0, .end = 2}, full};
  const auto instruction = scene.instruction();
  const auto frames = scene.frames();
  VideoBackgroundCompositor forward({.threads = 2});
  PixelBufferRef before;
  for (const double time : {0.5, 0.5, 1.1, 1.2, 2.0, 2.1, 2.3, 5.0, 5.0, 0.5}) {
    SCOPED_TRACE(time);
    const auto frame = forward.startRequest({instruction, time, frames});
    VideoBackgroundCompositor alone({.threads = 1});
    ASSERT_EQ(bytesOf(*frame), bytesOf(*alone.startRequest({instruction, time, frames})));
    if (before) {
      EXPECT_EQ(frame->sequence, before->sequence + 1);
      // Outside of the rectangles nothing differs.
      for (int y = 0; y < frame->height; ++y)
        for (int x = 0; x < frame->width; ++x) {
          const auto at = [&](const PixelBuffer& of) {
            return of.planes[0].data[of.planes[0].stride * y + x];
          };
          if (at(*frame) == at(*before)) continue;
          ASSERT_TRUE(std::ranges::any_of(frame->changed,
                                          [&](const PixelRect& rect) {
                                            return x >= rect.x && x < rect.x + rect.width && y >= rect.y &&
                                                   y < rect.y + rect.height;
                                          }))
              << x << ", " << y;
        }
    }
    before = frame;
  }
  const auto still = forward.startRequest({instruction, 0.5, frames});
  EXPECT_TRUE(still->changed.empty()) << "of a frame that is asked for again nothing has changed";
}

TEST(VideoBackgroundCompositor, AllocatesNothingAFrameOnceWarm) {
  CompositionScene scene;
  scene.styling = {
      .background = SerializableColor{0.2, 0.4, 0.6}, .paddingRatio = 0.06, .shadowIntensity = 1};
  scene.cursor = CursorOverlaySettings{.size = 3};
  scene.camera = FacecamSettings{};
  const auto instruction = scene.instruction();
  const auto frames = scene.frames();
  // When a second thread has its first row is up to the machine.
  VideoBackgroundCompositor compositor({.threads = 1});
  std::size_t before = 0;
  for (int i = 0; i < 16; ++i) {
    if (i == 8) before = Allocations::count();
    compositor.startRequest({instruction, 1 + i * 0.04, frames});
  }
  EXPECT_EQ(Allocations::count(), before);
}

TEST(VideoBackgroundCompositor, ComposesTheLargestVideos) {
  CompositionScene scene;
  scene.canvas = {7680, 4320};
  scene.styling = {
      .background = BackgroundPresets::gradients()[12], .paddingRatio = 0.05, .shadowIntensity = 1};
  VideoBackgroundCompositor compositor({.threads = 2});
  const auto frame = composed(compositor, scene);
  EXPECT_EQ(frame->width, 7680);
  // The last pixels are the backdrop's, and it was drawn: black would be its failure.
  EXPECT_GT(frame->planes[0].data[frame->planes[0].stride * 4319 + 7679], 20);
}

TEST(VideoBackgroundCompositor, EndsEachRequestWithAFrameOrItsError) {
  using Kind = VideoCompositorError::Kind;
  VideoBackgroundCompositor compositor({});
  CompositionScene scene;
  const auto frames = scene.frames();
  const auto kindOf = [&](const VideoBackgroundCompositor::Request& request) {
    try {
      compositor.startRequest(request);
    } catch (const VideoCompositorError& error) {
      return std::optional(error.kind);
    }
    return std::optional<Kind>();
  };
  const auto instruction = scene.instruction();
  auto unusable = *instruction;
  unusable.renderSize = {std::numeric_limits<double>::quiet_NaN(), 180};
  EXPECT_EQ(kindOf({nullptr, 1, frames}), Kind::missingInstruction);
  EXPECT_EQ(kindOf({instruction, 1, {}}), Kind::missingSourceFrame);
  EXPECT_EQ(kindOf({std::make_shared<VideoBackgroundCompositionInstruction>(unusable), 1, frames}),
            Kind::renderBufferUnavailable);
  EXPECT_EQ(kindOf({instruction, std::numeric_limits<double>::quiet_NaN(), frames}), std::nullopt);
  // From several threads at once, one after another.
  std::vector<std::future<PixelBufferRef>> results;
  for (int i = 0; i < 4; ++i)
    results.push_back(std::async(std::launch::async, [&] {
      return compositor.startRequest({instruction, 1, frames});
    }));
  for (auto& result : results) EXPECT_EQ(result.get()->width, 320);
  compositor.cancelAllPendingVideoCompositionRequests();
}

}  // namespace
}  // namespace quillant
