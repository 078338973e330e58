#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "DrawKit/Canvas.h"
#include "DrawKit/Renderer.h"

// What scripts/bench compares with another program's filters: a finished frame with every layer, drawn again
// and again on one thread.
//
//   quillant-compose-scene <scene> <frames> <width> <height>   prints milliseconds of CPU a frame
//   quillant-compose-scene layers <frames> <width> <height>    the same as layer upon layer is added
//   quillant-compose-scene sources <folder> <width> <height>   writes the pictures that the scene is made of
//
// Scenes: plain (every layer, no zoom), ramp (the same while it zooms in and out), cursor (only the cursor
// moves).

namespace {

using namespace quillant;

constexpr int videoFrames = 8;
/// What a decoder writes to in turn.
constexpr int decodedFrames = 3;
constexpr double pi = 3.14159265358979;

/// A picture in BT.709, limited range, with edges and slopes that differ from frame to frame.
PixelBufferRef videoFrame(int width, int height, int index) {
  const auto memory = std::make_shared<std::vector<std::uint8_t>>(static_cast<std::size_t>(width) *
                                                                  static_cast<std::size_t>(height) * 3 / 2);
  auto picture = std::make_shared<PixelBuffer>();
  picture->format = PixelFormat::i420, picture->width = width, picture->height = height,
  picture->memory = memory;
  std::uint8_t* data = memory->data();
  for (std::size_t plane = 0; plane < 3; ++plane) {
    const int columns = plane == 0 ? width : width / 2, rows = plane == 0 ? height : height / 2;
    picture->planes[plane] = {data, columns};
    for (int y = 0; y < rows; ++y)
      for (int x = 0; x < columns; ++x)
        *data++ = static_cast<std::uint8_t>(
            40 + ((x * 3 + index * 7) ^ (y * 5 + static_cast<int>(plane) * 31)) % 170);
  }
  return picture;
}

Path roundedRectangle(const Rect& rect, double radius) {
  const double c = radius * 0.4477, l = rect.x, t = rect.y, r = rect.maxX(), b = rect.maxY();
  return Path()
      .moveTo({l + radius, t})
      .lineTo({r - radius, t})
      .curveTo({r - c, t}, {r, t + c}, {r, t + radius})
      .lineTo({r, b - radius})
      .curveTo({r, b - c}, {r - c, b}, {r - radius, b})
      .lineTo({l + radius, b})
      .curveTo({l + c, b}, {l, b - c}, {l, b - radius})
      .lineTo({l, t + radius})
      .curveTo({l, t + c}, {l + c, t}, {l + radius, t})
      .close();
}

struct Scene {
  Scene(int width_, int height_) : width(width_), height(height_) {
    const double shorter = std::min(width, height), pad = shorter * 0.05;
    for (int i = 0; i < videoFrames; ++i) video.push_back(videoFrame(width, height, i));
    for (int i = 0; i < videoFrames; ++i)
      camera.push_back(videoFrame(width / 3 & ~1, height / 3 & ~1, i + 50));
    for (int i = 0; i < decodedFrames; ++i) {
      decodedVideo.push_back(videoFrame(width, height, 0));
      decodedCamera.push_back(videoFrame(camera[0]->width, camera[0]->height, 0));
    }
    const double scale = std::min((width - 2 * pad) / width, (height - 2 * pad) / height);
    frame = {(width - width * scale) / 2, (height - height * scale) / 2, width * scale, height * scale};
    radius = shorter * 0.02;
    bubble = {width - pad - shorter * 0.22, height - pad - shorter * 0.22, shorter * 0.22, shorter * 0.22};

    Canvas ground(width, height);
    for (int band = 0; band < 64; ++band)
      ground.fill(Path().rectangle({0, height * band / 64.0, width + 0.0, height / 64.0 + 1}),
                  {0.15 + band / 128.0, 0.3, 0.8 - band / 128.0});
    backdrop = std::move(ground).take();
    const double size = shorter / 30;
    Canvas pointer(static_cast<int>(size) + 8, static_cast<int>(size * 1.4) + 8);
    pointer.fill(Path().polygon(std::array<Point, 3>{{{4, 4}, {4, size * 1.3}, {size, size}}}), {0, 0, 0});
    pointer.castShadow({{0, 2}, 4, {0, 0, 0, 0.5}});
    cursor = std::move(pointer).take();
    Canvas text(static_cast<int>(width * 0.5) & ~1, static_cast<int>(shorter * 0.1) & ~1);
    text.fill(roundedRectangle({0, 0, width * 0.5 - 2, shorter * 0.1 - 2}, shorter * 0.02), {0, 0, 0, 0.7});
    for (int i = 0; i < 30; ++i)
      text.fill(Path().ellipse({width * 0.5 * (i + 0.5) / 31, shorter * 0.03, width * 0.01, shorter * 0.04}),
                {1, 1, 1});
    captions = std::move(text).take();
  }

  Image placed(const PixelBufferRef& picture, const Rect& where) const {
    return Image::picture(picture)
        .transformed(AffineTransform::scale(where.width / picture->width, where.height / picture->height))
        .transformed(AffineTransform::translation(where.x, where.y));
  }

  /// Writes the pictures of frame `index` to where a decoder would have, just before.
  void decode(int index) const {
    const auto from = static_cast<std::size_t>(index % videoFrames),
               to = static_cast<std::size_t>(index % decodedFrames);
    for (const auto& [source, target] :
         {std::pair{&video[from], &decodedVideo[to]}, std::pair{&camera[from], &decodedCamera[to]}})
      std::memcpy((*target)->planes[0].data, (*source)->planes[0].data,
                  std::size_t(3) * (*source)->width * (*source)->height / 2);
  }

  /// Of frame `index`, with the whole moved by `zoom` and the captions not.
  void describe(std::vector<Image>& images, int index, bool moving, double zoom, std::size_t layers) const {
    const int shown = moving ? index % decodedFrames : 0;
    images.clear();
    const double phase = index * 0.05;
    const Point pointer{width * (0.5 + 0.3 * std::cos(phase)), height * (0.5 + 0.3 * std::sin(phase))};
    const auto& face = decodedCamera[static_cast<std::size_t>(shown)];
    const double cover = std::max(bubble.width / face->width, bubble.height / face->height);
    const Rect facePlace{bubble.center().x - face->width * cover / 2,
                         bubble.center().y - face->height * cover / 2, face->width * cover,
                         face->height * cover};
    const Image all[] = {
        placed(backdrop, {0, 0, width + 0.0, height + 0.0}),
        Image::flat({0, 0, 0}, frame)
            .rounded(frame, radius)
            .blurred(19, Image::BlurEdges::fading)
            .transformed(AffineTransform::translation(0, 9))
            .faded(0.275),
        placed(decodedVideo[static_cast<std::size_t>(shown)], frame).rounded(frame, radius),
        Image::picture(cursor).transformed(AffineTransform::translation(pointer.x, pointer.y)),
        placed(face, facePlace).rounded(bubble, bubble.width / 2)};
    const Point focus{width * 0.6, height * 0.4};
    for (const Image& image : std::span(all).first(std::min(layers, std::size(all))))
      images.push_back(image.transformed(AffineTransform::translation(-focus.x, -focus.y))
                           .transformed(AffineTransform::scale(zoom, zoom))
                           .transformed(AffineTransform::translation(focus.x, focus.y)));
    if (layers > std::size(all))
      images.push_back(Image::picture(captions).transformed(AffineTransform::translation(
          std::floor((width - captions->width) / 2.0), 2 * std::floor(height * 0.42))));
  }

  int width, height;
  Rect frame, bubble;
  double radius = 0;
  std::vector<PixelBufferRef> video, camera, decodedVideo, decodedCamera;
  PixelBufferRef backdrop, cursor, captions;
};

double milliseconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

constexpr const char* layerNames[] = {"backdrop", "shadow", "video", "cursor", "camera", "captions"};

/// The median of milliseconds of CPU a frame, warm: what else runs on the machine makes the mean a lottery.
double measure(const Scene& scene, std::string_view name, int frames, std::size_t layers) {
  BandPool pool(1);
  Renderer renderer({.width = scene.width, .height = scene.height}, pool);
  std::vector<Image> images;
  std::vector<double> times;
  constexpr int warm = 4;
  for (int i = 0; i < frames + warm; ++i) {
    const double zoom = name == "ramp" ? 1.5 - 0.5 * std::cos(2 * pi * i / 120) : 1;
    if (i == 0 || name != "cursor") scene.decode(i);
    const double start = milliseconds();
    scene.describe(images, i, name != "cursor", zoom, layers);
    renderer.render(images);
    if (i >= warm) times.push_back(milliseconds() - start);
  }
  std::ranges::nth_element(times, times.begin() + frames / 2);
  return times[static_cast<std::size_t>(frames / 2)];
}

void write(const std::filesystem::path& path, const std::vector<PixelBufferRef>& pictures, int bytes) {
  std::ofstream file(path, std::ios::binary);
  for (const auto& picture : pictures)
    for (std::size_t plane = 0; plane < (bytes == 1 ? 3u : 1u); ++plane) {
      const int shift = plane == 0 ? 0 : 1;
      for (int y = 0; y < picture->height >> shift; ++y)
        file.write(reinterpret_cast<const char*>(picture->planes[plane].data) +
                       std::ptrdiff_t{picture->planes[plane].stride} * y,
                   (picture->width >> shift) * bytes);
    }
}

int number(const char* text) {
  int value = 0;
  std::from_chars(text, text + std::strlen(text), value);
  return value;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fputs(
        "usage: quillant-compose-scene plain|ramp|cursor|layers <frames> <width> <height>\n"
        "       quillant-compose-scene sources <folder> <width> <height>\n",
        stderr);
    return 2;
  }
  const std::string_view name = argv[1];
  const Scene scene(number(argv[3]), number(argv[4]));
  if (name == "sources") {
    const std::filesystem::path folder = argv[2];
    write(folder / "video.yuv", scene.video, 1);
    write(folder / "camera.yuv", scene.camera, 1);
    write(folder / "backdrop.bgra", {scene.backdrop}, 4);
    write(folder / "cursor.bgra", {scene.cursor}, 4);
    write(folder / "captions.bgra", {scene.captions}, 4);
    std::printf(
        "frame %.3f %.3f %.3f %.3f\nbubble %.3f\ncamera %d %d\ncursor %d %d\ncaptions %d %d\nradius %.3f\n",
        scene.frame.x, scene.frame.y, scene.frame.width, scene.frame.height, scene.bubble.width,
        scene.camera[0]->width, scene.camera[0]->height, scene.cursor->width, scene.cursor->height,
        scene.captions->width, scene.captions->height, scene.radius);
    return 0;
  }
  const int frames = number(argv[2]);
  if (name == "layers") {
    for (const std::string_view kind : {"plain", "ramp"}) {
      double before = 0;
      for (std::size_t layers = 1; layers <= std::size(layerNames); ++layers) {
        const double now = measure(scene, kind, frames, layers);
        std::printf("%s %s %.3f\n", std::string(kind).c_str(), layerNames[layers - 1], now - before);
        before = now;
      }
    }
    return 0;
  }
  std::printf("%.4f\n", measure(scene, name, frames, std::size(layerNames)));
  return 0;
}
