// The scalar target is among those that are compared.
#define HWY_COMPILE_ALL_ATTAINABLE
#define HWY_WANT_AVX3_DL

#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <hwy/highway.h>
#include <limits>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "Core/PixelRects.h"
#include "DrawKit/DrawingError.h"
#include "DrawKit/Renderer.h"
#include "Tests/Support/Allocations/Allocations.h"
#include "Tests/Support/Drawing/PlainRenderer.h"
#include "Tests/Support/Drawing/TestPictures.h"

namespace quillant {
namespace {

using TestPictures::patterned;
using Images = std::vector<Image>;
constexpr int width = 256, height = 144;

/// The transform that puts a picture of one size where `frame` is, as a canvas's layout does.
Image placed(const PixelBufferRef& picture, const Rect& frame) {
  return Image::picture(picture)
      .transformed(AffineTransform::scale(frame.width / picture->width, frame.height / picture->height))
      .transformed(AffineTransform::translation(frame.x, frame.y));
}

Image backdrop() {
  return Image::flat({0.2, 0.5, 0.8}, {0, 0, width, height});
}

Images zoomed(Images images, double scale, Point focus) {
  for (Image& image : images)
    image = image.transformed(AffineTransform::translation(-focus.x, -focus.y))
                .transformed(AffineTransform::scale(scale, scale))
                .transformed(AffineTransform::translation(focus.x, focus.y));
  return images;
}

/// Everything that a frame has, at fractional places.
Images everything() {
  const auto video = patterned(PixelFormat::i420, 320, 180);
  const Rect frame{18.3, 10.7, 219.6, 123.5};
  const auto panel = Image::flat({0, 0, 0}, frame).rounded(frame, 9.5);
  return {
      placed(patterned(PixelFormat::premultipliedBGRA, 64, 36), {0, 0, width, height})
          .blurred(6, Image::BlurEdges::extended),
      panel.blurred(7, Image::BlurEdges::fading).transformed(AffineTransform::translation(0, 5)).faded(0.5),
      panel.faded(0.9),
      placed(video, {24.1, 15.2, 205.4, 115.5}).rounded({24.1, 15.2, 205.4, 115.5}, 9.5),
      placed(patterned(PixelFormat::premultipliedBGRA, 21, 27, {}, 3), {100.4, 60.8, 21, 27}),
      placed(patterned(PixelFormat::i420, 160, 120, {}, 5), {180, 90, 64, 48})
          .rounded({190.5, 92.5, 44, 44}, 22),
      placed(patterned(PixelFormat::premultipliedBGRA, 80, 20, {}, 7), {88, 120, 80, 20})};
}

struct Case {
  std::string name;
  Images images;
};

std::vector<Case> cases() {
  const auto video = patterned(PixelFormat::i420, 320, 180);
  const Rect inner{20.25, 12.5, 215.5, 119};
  const Rect whole{0, 0, width, height};
  std::vector<Case> all{
      {"one to one", {backdrop(), placed(patterned(PixelFormat::i420, width, height), whole)}},
      {"smaller", {backdrop(), placed(video, inner)}},
      {"larger", {placed(patterned(PixelFormat::i420, 97, 55), {-3.5, -7.25, 263, 160})}},
      {"a third", {backdrop(), placed(patterned(PixelFormat::i420, 642, 361), inner)}},
      {"a tenth across, twice down",
       {backdrop(), placed(patterned(PixelFormat::i420, 1001, 33), {9.5, 8, 100, 66})}},
      {"thin", {backdrop(), placed(video, {100.3, 0, 0.4, 144}), placed(video, {0, 70.2, 256, 1.1})}},
      {"a pixel", {backdrop(), placed(patterned(PixelFormat::i420, 1, 1), {30.5, 20.5, 150, 90})}},
      {"cropped", {backdrop(), placed(video, inner).cropped({50.5, 31.25, 120, 77.5})}},
      {"rounded", {backdrop(), placed(video, inner).rounded(inner, 30)}},
      {"a circle", {backdrop(), placed(video, inner).rounded({60.2, 20.6, 100, 100}, 80)}},
      {"rounded beyond the canvas",
       {backdrop(), placed(video, {-20, -20, 300, 190}).rounded({-8, -8, 275, 165}, 24)}},
      {"half there", {backdrop(), placed(video, inner).rounded(inner, 12).faded(0.5)}},
      {"colours",
       {backdrop(), Image::flat({1, 0, 0, 0.5}, {10.5, 10, 60, 60}),
        Image::flat({1, 1, 0}, {40, 40.5, 200, 90})}},
      {"a bitmap",
       {backdrop(), placed(patterned(PixelFormat::premultipliedBGRA, 100, 80), {33, 22, 100, 80})}},
      {"a larger bitmap",
       {backdrop(), placed(patterned(PixelFormat::premultipliedBGRA, 100, 80), {3.7, 2.2, 150, 120})}},
      {"blurred", {backdrop(), placed(video, inner).blurred(3, Image::BlurEdges::fading)}},
      {"blurred a little",
       {backdrop(), placed(video, inner).rounded(inner, 10).blurred(1.6, Image::BlurEdges::fading)}},
      {"blurred much",
       {backdrop(), placed(video, inner).rounded(inner, 10).blurred(19, Image::BlurEdges::fading)}},
      {"blurred beyond its size",
       {backdrop(), placed(patterned(PixelFormat::i420, 16, 12), {120.5, 60, 17, 13})
                        .blurred(25, Image::BlurEdges::fading)}},
      {"a backdrop blurred", {placed(video, whole).blurred(8, Image::BlurEdges::extended)}},
      {"a part blurred",
       {backdrop(), placed(video, whole).cropped(inner).blurred(4, Image::BlurEdges::extended)}},
      {"a shadow",
       {backdrop(),
        Image::flat({0, 0, 0}, inner).rounded(inner, 14).blurred(11, Image::BlurEdges::fading).faded(0.6)}},
      {"everything", everything()},
      {"everything, zoomed in", zoomed(everything(), 1.73, {200.5, 40})},
      {"everything, a little", zoomed(everything(), 1.02, {0, height})},
      {"everything, zoomed out", zoomed(everything(), 0.37, {128, 72})},
      {"turned a little",
       {backdrop(), placed(video, inner).rounded(inner, 20).transformed({0.9, 0.3, -0.3, 0.9, 30, -20})}},
  };
  for (const auto format : {PixelFormat::bgra, PixelFormat::i422, PixelFormat::i444, PixelFormat::i420x10,
                            PixelFormat::i422x10, PixelFormat::i444x10})
    for (const auto& [columns, rows] : {std::pair{201, 113}, std::pair{400, 231}})
      all.push_back({"format " + std::to_string(static_cast<int>(format)) + " of " + std::to_string(columns),
                     {backdrop(), placed(patterned(format, columns, rows), inner)}});
  using E = ColorEncoding;
  for (const E encoding :
       {E{.range = E::Range::full}, E{.matrix = E::Matrix::bt601},
        E{E::Matrix::bt601, E::Range::full, E::ChromaSite::center}, E{.chromaSite = E::ChromaSite::topLeft}})
    for (const int columns : {199, 500})
      all.push_back({"encoding " + std::to_string(static_cast<int>(encoding.matrix)) +
                         std::to_string(static_cast<int>(encoding.range)) +
                         std::to_string(static_cast<int>(encoding.chromaSite)) + " of " +
                         std::to_string(columns),
                     {backdrop(), placed(patterned(PixelFormat::i420, columns, 110, encoding), inner)}});
  const AffineTransform ways[] = {{-1, 0, 0, 1, 201, 0},   {1, 0, 0, -1, 0, 113}, {-1, 0, 0, -1, 201, 113},
                                  {0, 1, 1, 0, 0, 0},      {0, 1, -1, 0, 113, 0}, {0, -1, 1, 0, 0, 201},
                                  {0, -1, -1, 0, 113, 201}};
  for (std::size_t i = 0; i < std::size(ways); ++i)
    for (const auto format : {PixelFormat::i420, PixelFormat::i422})
      all.push_back({"way " + std::to_string(i) + " of " + std::to_string(static_cast<int>(format)),
                     {backdrop(), Image::picture(patterned(format, 201, 113))
                                      .cropped({5, 3, 190, 100})
                                      .transformed(ways[i])
                                      .transformed({0.7, 0, 0, 0.61, 13.3, 7.9})}});
  return all;
}

TEST(Renderer, ComesNearThePlainRenderer) {
  BandPool pool(2);
  const auto check = [&](const std::string& name, const Images& images, int columns, int rows) {
    Renderer renderer({.width = columns, .height = rows}, pool);
    const auto found =
        PlainRenderer::compare(*renderer.render(images), PlainRenderer::render(images, columns, rows));
    EXPECT_GE(found.luma, 50) << name << ", at most " << found.largest;
    EXPECT_GE(found.chroma, 45) << name << ", at most " << found.largest;
  };
  for (const auto& [name, images] : cases()) check(name, images, width, height);
  check("wider than a band", {placed(patterned(PixelFormat::i420, 4400, 20), {3.5, 2, 4090, 18.5})}, 4100,
        24);
}

// A blur of less than a sample is worked out on the source's grid, not on the canvas's.
TEST(Renderer, ComesNearWithTheFinestBlurs) {
  BandPool pool(2);
  const Rect frame{20.25, 12.5, 215.5, 119};
  for (const int columns : {97, 320})
    for (const double sigma : {0.05, 0.3, 0.8})
      for (const auto edges : {Image::BlurEdges::fading, Image::BlurEdges::extended}) {
        const Image blurred[] = {
            placed(patterned(PixelFormat::i420, columns, columns * 9 / 16), frame).blurred(sigma, edges)};
        Renderer renderer({.width = width, .height = height}, pool);
        const auto found =
            PlainRenderer::compare(*renderer.render(blurred), PlainRenderer::render(blurred, width, height));
        EXPECT_GE(found.luma, 38) << sigma << " of " << columns;
        EXPECT_GE(found.chroma, 35) << sigma << " of " << columns;
      }
}

std::vector<std::uint8_t> bytesOf(const PixelBuffer& frame) {
  std::vector<std::uint8_t> bytes;
  for (int plane = 0; plane < 3; ++plane)
    for (int y = 0; y < (plane == 0 ? frame.height : frame.height / 2); ++y) {
      const std::uint8_t* row = frame.planes[plane].data + frame.planes[plane].stride * y;
      bytes.insert(bytes.end(), row, row + (plane == 0 ? frame.width : frame.width / 2));
    }
  return bytes;
}

std::vector<std::uint8_t> drawn(const Images& images, int threads) {
  BandPool pool(threads);
  return bytesOf(*Renderer({.width = width, .height = height}, pool).render(images));
}

TEST(Renderer, GivesTheSameBytesOnAnyThreadsAndInstructions) {
  const auto all = cases();
  std::vector<std::vector<std::uint8_t>> expected;
  for (const Case& one : all) expected.push_back(drawn(one.images, 1));
  for (const int threads : {2, 7})
    for (std::size_t i = 0; i < all.size(); ++i)
      EXPECT_TRUE(drawn(all[i].images, threads) == expected[i]) << all[i].name << " on " << threads;
  std::string compared;
  for (const auto target : hwy::SupportedAndGeneratedTargets()) {
    compared.append(compared.empty() ? "" : " ").append(hwy::TargetName(target));
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(target);
    for (std::size_t i = 0; i < all.size(); ++i)
      EXPECT_TRUE(drawn(all[i].images, 1) == expected[i]) << all[i].name << " on " << hwy::TargetName(target);
  }
  hwy::SetSupportedTargetsForTest(0);
  hwy::GetChosenTarget().DeInit();
  RecordProperty("targets", compared);
  EXPECT_TRUE(compared.ends_with("EMU128") || compared.ends_with("SCALAR")) << compared;
}

// A frame that follows others is the one that is drawn alone, tells where it differs, and outlives what drew
// it.
TEST(Renderer, DrawsOnlyWhatChangesAndNothingElseDiffers) {
  BandPool pool(2);
  auto renderer = std::make_unique<Renderer>(Renderer::Options{.width = width, .height = height}, pool);
  const auto cursor = patterned(PixelFormat::premultipliedBGRA, 21, 27, {}, 3);
  std::vector<Images> frames;
  const auto scene = everything();
  for (int i = 0; i < 12; ++i) {  // long enough for the lowest images to be kept as one
    frames.push_back(scene);
    frames.back()[4] = placed(cursor, {100.4 + 3 * i, 60.8, 21, 27});
  }
  frames.push_back(frames.back());
  for (const auto& video :
       {patterned(PixelFormat::i420, 320, 180, {}, 8), patterned(PixelFormat::i420, 320, 180, {}, 9)}) {
    frames.push_back(frames.back());
    frames.back()[3].source = video;
  }
  frames.push_back({frames.back().begin(), frames.back().end() - 1});
  frames.push_back(zoomed(scene, 1.5, {10, 20}));
  frames.push_back({});
  frames.push_back(scene);

  std::vector<PixelBufferRef> held;
  std::vector<std::uint8_t> before;
  for (std::size_t i = 0; i < frames.size(); ++i) {
    const auto frame = renderer->render(frames[i]);
    if (i % 3 == 0) held.push_back(frame);
    EXPECT_EQ(frame->sequence, i + 1);
    const auto now = bytesOf(*frame);
    ASSERT_TRUE(now == drawn(frames[i], 1)) << i;
    for (std::size_t at = 0; i > 0 && at < std::size_t{width} * height; ++at) {
      const int x = static_cast<int>(at) % width, y = static_cast<int>(at) / width;
      const auto holds = [&](const PixelRect& rect) {
        return x >= rect.x && x < rect.x + rect.width && y >= rect.y && y < rect.y + rect.height;
      };
      ASSERT_TRUE(now[at] == before[at] || std::ranges::any_of(frame->changed, holds))
          << i << ": " << x << ", " << y;
    }
    std::int64_t area = 0;
    for (const PixelRect& rect : frame->changed) area += PixelRects::area(rect);
    if (i > 0 && i < 12) {
      EXPECT_LE(area, 30 * 30) << i;
    }
    EXPECT_EQ(frame->changed.empty(), i == 12) << i;
    before = now;
  }
  Renderer forgetful({.width = width, .height = height, .keptBytes = 0}, pool);
  for (std::size_t i = 0; i < 3; ++i)
    EXPECT_TRUE(bytesOf(*forgetful.render(frames[0])) == drawn(frames[0], 1));
  renderer = nullptr;
  for (std::size_t i = 0; i < held.size(); ++i)
    EXPECT_TRUE(bytesOf(*held[i]) == drawn(frames[3 * i], 1)) << i;
}

// Whatever is done to a picture: a part of it that has changed is found on the canvas, whole, and little
// else.
TEST(Renderer, DrawsOfAPictureOnlyWhatItSaysHasChanged) {
  BandPool pool(1);
  for (const auto& [name, images] : cases()) {
    std::array<Images, 2> frames{images, images};
    for (std::size_t i = 0; i < images.size(); ++i) {
      const auto* picture = std::get_if<PixelBufferRef>(&images[i].source);
      if (!picture) continue;
      const auto& [columns, rows] = std::tie((*picture)->width, (*picture)->height);
      const PixelRect part{columns / 3, rows / 2, std::max(1, columns / 9), std::max(1, rows / 9)};
      for (std::size_t shown = 0; shown < 2; ++shown) {
        auto copy = *patterned((*picture)->format, columns, rows, (*picture)->color, 0,
                               shown == 0 ? PixelRect{} : part);
        copy.source = i + 1, copy.sequence = shown + 1, copy.changed = {part};
        frames[shown][i].source = std::make_shared<PixelBuffer>(std::move(copy));
      }
    }
    Renderer renderer({.width = width, .height = height}, pool);
    renderer.render(frames[0]);
    const auto frame = renderer.render(frames[1]);
    EXPECT_TRUE(bytesOf(*frame) == drawn(frames[1], 1)) << name;
    std::int64_t area = 0;
    for (const PixelRect& rect : frame->changed) area += PixelRects::area(rect);
    if (name == "smaller" || name == "a third" || name == "turned a little") {
      EXPECT_LT(area, width * height / 16) << name;
    }
  }
}

// As a recording comes: each frame a picture of its own, drawn twice, as a video and as its shadow.
TEST(Renderer, AllocatesNothingOnceWarmAndLetsGoOfPictures) {
  BandPool pool(1);  // when a second thread has its first row is up to the machine
  Renderer renderer({.width = width, .height = height}, pool);
  constexpr std::size_t warm = 8;
  std::vector<PixelBufferRef> videos;
  std::vector<std::weak_ptr<const PixelBuffer>> seen;
  for (int i = 0; i < 16; ++i) {
    videos.push_back(patterned(PixelFormat::i420, 700, 400, {}, i));
    seen.push_back(videos.back());
  }
  auto scene = everything();
  scene.insert(scene.begin() + 3, scene[3].blurred(5, Image::BlurEdges::fading));
  Images images;
  std::size_t before = 0;
  for (std::size_t i = 0; i < videos.size(); ++i) {
    if (i == warm) before = Allocations::count();
    images.assign(scene.begin(), scene.end());
    images[3].source = images[4].source = std::move(videos[i]);
    images[3].crop = images[4].crop = {0, 0, 700, 400};
    for (Image& image : images) {
      const double zoom = 1 + static_cast<double>(i % 2) * 0.01;
      image = image.transformed(AffineTransform::scale(zoom, zoom));
    }
    renderer.render(images);
    images.clear();
    for (std::size_t old = 0; old + 1 < i; ++old) EXPECT_TRUE(seen[old].expired()) << old << " at " << i;
  }
  EXPECT_EQ(Allocations::count(), before);
}

// What a broken document can ask for is drawn as nothing, or as far as the canvas goes.
TEST(Renderer, SurvivesExtremes) {
  BandPool pool(1);
  Renderer renderer({.width = width, .height = height}, pool);
  const auto video = patterned(PixelFormat::i420, 33, 17);
  const double infinity = std::numeric_limits<double>::infinity(), none = std::nan("");
  for (const double number : {0.0, 1e-12, -1e-7, 1e12, -1e300, infinity, none}) {
    const auto moved = Image::picture(video).transformed(AffineTransform::translation(number, 3));
    const Image images[] = {moved,
                            Image::picture(video).transformed(AffineTransform::scale(number, 2)),
                            Image::flat({1, 0, 0}, {number, -number, number, 50}),
                            Image::flat({1, 0, 0}, {0, 0, 50, 50}).blurred(number, Image::BlurEdges::fading),
                            Image::picture(video).blurred(number, Image::BlurEdges::extended),
                            Image::picture(video).rounded({0, 0, 20, 10}, number),
                            Image::picture(video).cropped({number, 1, number, 5}),
                            Image::picture(video).faded(number)};
    EXPECT_NE(renderer.render(images), nullptr) << number;
  }
}

TEST(Renderer, KeepsFlatColoursAndRefusesOddCanvases) {
  BandPool pool(1);
  for (const int side : {0, 3, Renderer::longestSide + 2})
    EXPECT_THROW(Renderer({.width = side, .height = 2}, pool), DrawingError);
  Renderer renderer({.width = width, .height = height}, pool);
  const auto frame = renderer.render(Images{Image::flat({1, 0, 0}, {0, 0, width, height}),
                                            Image::flat({1, 1, 1, 0.5}, {0, 0, width, height})});
  const double expected[] = {(63 + 235) / 2.0, (102 + 128) / 2.0, (240 + 128) / 2.0};
  for (int plane = 0; plane < 3; ++plane)
    EXPECT_NEAR(frame->planes[plane].data[0], expected[plane], 1) << plane;
}

}  // namespace
}  // namespace quillant
