#include "Tests/Support/Drawing/PlainRenderer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <optional>
#include <utility>

namespace quillant::PlainRenderer {

namespace {

/// A sample's three values and its alpha, all premultiplied, in BT.709 limited range: Y, U, V as in 8 bits.
struct Sample {
  std::array<double, 3> value{};
  double alpha = 0;
};

constexpr std::array<double, 3> offsets{16, 128, 128};

/// Premultiplied red, green and blue of 0...1.
Sample fromRGB(double red, double green, double blue, double alpha) {
  const double luma = 0.2126 * red + 0.7152 * green + 0.0722 * blue;
  return {{16 * alpha + 219 * luma, 128 * alpha + 224 * (blue - luma) / 1.8556,
           128 * alpha + 224 * (red - luma) / 1.5748},
          alpha};
}

/// The layout of a source's planes.
struct Layout {
  bool planar = true;
  bool tenBits = false;
  bool halfWidth = false;
  bool halfHeight = false;

  static Layout of(PixelFormat format) {
    switch (format) {
      case PixelFormat::bgra:
      case PixelFormat::premultipliedBGRA:
        return {.planar = false};
      case PixelFormat::i420:
        return {.halfWidth = true, .halfHeight = true};
      case PixelFormat::i422:
        return {.halfWidth = true};
      case PixelFormat::i444:
        return {};
      case PixelFormat::i420x10:
        return {.tenBits = true, .halfWidth = true, .halfHeight = true};
      case PixelFormat::i422x10:
        return {.tenBits = true, .halfWidth = true};
      case PixelFormat::i444x10:
        break;
    }
    return {.tenBits = true};
  }
};

/// One component of a source as numbers: 0, 1, 2 for Y, U, V and 3 for alpha, in limited range.
struct Component {
  Plane plane;
  AffineTransform toPlane;  ///< From the source's pixels to this plane's samples.
};

Component component(const PixelBuffer& source, int index) {
  const Layout layout = Layout::of(source.format);
  Component result{{source.width, source.height, {}}, {}};
  if (!layout.planar) {
    for (int y = 0; y < source.height; ++y)
      for (int x = 0; x < source.width; ++x) {
        const std::uint8_t* pixel =
            source.planes[0].data + std::ptrdiff_t{y} * source.planes[0].stride + x * 4;
        const double alpha = source.format == PixelFormat::bgra ? 1 : pixel[3] / 255.0;
        const Sample sample = fromRGB(pixel[2] / 255.0, pixel[1] / 255.0, pixel[0] / 255.0, alpha);
        result.plane.values.push_back(index == 3 ? alpha * 255 : sample.value[index]);
      }
    return result;
  }
  const bool chroma = index == 1 || index == 2;
  if (chroma && layout.halfWidth) {
    result.plane.width = (source.width + 1) / 2;
    result.toPlane.a = 0.5;
    result.toPlane.tx = source.color.chromaSite == ColorEncoding::ChromaSite::center ? 0 : 0.25;
  }
  if (chroma && layout.halfHeight) {
    result.plane.height = (source.height + 1) / 2;
    result.toPlane.d = 0.5;
    result.toPlane.ty = source.color.chromaSite == ColorEncoding::ChromaSite::topLeft ? 0.25 : 0;
  }
  const double most = layout.tenBits ? 1023 : 255, step = layout.tenBits ? 4 : 1;
  const bool full = source.color.range == ColorEncoding::Range::full;
  for (int y = 0; y < result.plane.height; ++y)
    for (int x = 0; x < result.plane.width; ++x) {
      if (index == 3) {
        result.plane.values.push_back(255);
        continue;
      }
      const std::uint8_t* row = source.planes[index].data + std::ptrdiff_t{y} * source.planes[index].stride;
      const double code = layout.tenBits ? reinterpret_cast<const std::uint16_t*>(row)[x] : row[x];
      if (!full)
        result.plane.values.push_back(code / step);
      else if (chroma)
        result.plane.values.push_back(128 + (code - 128 * step) / most * 224);
      else
        result.plane.values.push_back(16 + code / most * 219);
    }
  return result;
}

/// From the canvas's pixels to the samples of a plane.
AffineTransform canvasToPlane(bool chroma) {
  return chroma ? AffineTransform{0.5, 0, 0, 0.5, 0.25, 0} : AffineTransform{};
}

struct Range {
  int first = 0;
  int count = 0;
};

/// The samples whose squares meet what lies between two places.
Range meeting(double from, double to, int count) {
  const int first = std::clamp(static_cast<int>(std::floor(from)), 0, count);
  return {first, std::clamp(static_cast<int>(std::ceil(to)), first, count) - first};
}

/// The mean of each two neighbours along one axis.
Plane halved(const Plane& plane, bool across) {
  Plane result{
      across ? (plane.width + 1) / 2 : plane.width, across ? plane.height : (plane.height + 1) / 2, {}};
  for (int y = 0; y < result.height; ++y)
    for (int x = 0; x < result.width; ++x) {
      const int x0 = across ? 2 * x : x, y0 = across ? y : 2 * y;
      const int x1 = across ? std::min(x0 + 1, plane.width - 1) : x;
      const int y1 = across ? y : std::min(y0 + 1, plane.height - 1);
      result.values.push_back((plane.at(x0, y0) + plane.at(x1, y1)) / 2);
    }
  return result;
}

/// Catmull-Rom's weights of the samples before, at, after and after that.
std::array<double, 4> cubic(double t) {
  return {((-t + 2) * t - 1) * t / 2, ((3 * t - 5) * t * t + 2) / 2, ((-3 * t + 4) * t + 1) * t / 2,
          (t - 1) * t * t / 2};
}

/// A component of a source, ready to be read for the samples of one plane of the canvas.
class Sampler {
 public:
  Sampler(const PixelBuffer& source, int index, const Rect& crop, const AffineTransform& sourceToPlane) {
    const Component whole = component(source, index);
    const Rect range = whole.toPlane.bounds(crop);
    const Range across = meeting(range.x, range.maxX(), whole.plane.width);
    const Range down = meeting(range.y, range.maxY(), whole.plane.height);
    plane_ = {across.count, down.count, {}};
    for (int y = 0; y < down.count; ++y)
      for (int x = 0; x < across.count; ++x)
        plane_.values.push_back(whole.plane.at(across.first + x, down.first + y));
    // From a sample of this component to one of the canvas's plane.
    const AffineTransform onward = whole.toPlane.inverse().then(sourceToPlane);
    const auto halvings = [](double samples) {
      int count = 0;
      for (; samples > 1.5; samples /= 2) ++count;
      return count;
    };
    const int timesAcross = halvings(1 / std::hypot(onward.a, onward.b));
    const int timesDown = halvings(1 / std::hypot(onward.c, onward.d));
    for (int i = 0; i < timesAcross; ++i) plane_ = halved(plane_, true);
    for (int i = 0; i < timesDown; ++i) plane_ = halved(plane_, false);
    fromPlane_ = onward.inverse()
                     .then(AffineTransform::translation(-across.first, -down.first))
                     .then(AffineTransform::scale(std::exp2(-timesAcross), std::exp2(-timesDown)));
  }

  bool isEmpty() const { return plane_.values.empty(); }

  /// At the middle of a sample of the canvas's plane.
  double at(int x, int y) const {
    const Point place = fromPlane_.apply({x + 0.5, y + 0.5});
    const double left = std::floor(place.x - 0.5), top = std::floor(place.y - 0.5);
    const auto across = cubic(place.x - 0.5 - left), down = cubic(place.y - 0.5 - top);
    const auto clamped = [](double index, int count) {
      return static_cast<int>(std::clamp(index, 0.0, count - 1.0));
    };
    double sum = 0;
    for (int j = 0; j < 4; ++j)
      for (int i = 0; i < 4; ++i)
        sum += across[i] * down[j] *
               plane_.at(clamped(left + i - 1, plane_.width), clamped(top + j - 1, plane_.height));
    return std::clamp(sum, 0.0, 255.0);
  }

 private:
  Plane plane_;
  AffineTransform fromPlane_;
};

/// BT.601's Y, U, V as BT.709's: over RGB of 0...1.
std::array<double, 3> from601(const std::array<double, 3>& value) {
  const double luma = (value[0] - 16) / 219, u = (value[1] - 128) / 224, v = (value[2] - 128) / 224;
  const double red = luma + 1.402 * v, blue = luma + 1.772 * u;
  return fromRGB(red, (luma - 0.299 * red - 0.114 * blue) / 0.587, blue, 1).value;
}

/// What an image has at the samples of one plane, before anything is hidden.
class Content {
 public:
  Content(const Image& image, int plane, const AffineTransform& sourceToPlane) : plane_(plane) {
    if (const auto* color = std::get_if<SerializableColor>(&image.source)) {
      const double alpha = std::clamp(color->alpha, 0.0, 1.0);
      const auto part = [alpha](double component) { return std::clamp(component, 0.0, 1.0) * alpha; };
      flat_ = fromRGB(part(color->red), part(color->green), part(color->blue), alpha);
      return;
    }
    const PixelBuffer& source = *std::get<PixelBufferRef>(image.source);
    is601_ = Layout::of(source.format).planar && source.color.matrix == ColorEncoding::Matrix::bt601;
    for (int index = 0; index < 4; ++index)
      if (index == 3 || index == plane || is601_)
        samplers_[index].emplace(source, index, image.crop, sourceToPlane);
  }

  bool isEmpty() const { return !flat_ && samplers_[3]->isEmpty(); }

  /// The plane's premultiplied value, and alpha.
  std::pair<double, double> at(int x, int y) const {
    if (flat_) return {flat_->value[plane_], flat_->alpha};
    const double alpha = samplers_[3]->at(x, y) / 255;
    if (!is601_) return {samplers_[plane_]->at(x, y), alpha};
    return {from601({samplers_[0]->at(x, y), samplers_[1]->at(x, y), samplers_[2]->at(x, y)})[plane_], alpha};
  }

 private:
  int plane_;
  bool is601_ = false;
  std::optional<Sample> flat_;
  std::array<std::optional<Sampler>, 4> samplers_;
};

/// The share of a sample's square that an image covers.
class Coverage {
 public:
  /// `canvas` is where squares count, in the canvas's pixels; none: everywhere.
  Coverage(const Image& image, const AffineTransform& sourceToPlane, const std::optional<Rect>& canvas)
      : image_(image),
        fromPlane_(sourceToPlane.inverse()),
        keepsRectangles_(sourceToPlane.keepsRectangles()) {
    if (canvas) canvas_ = *canvas;
  }

  double of(int x, int y, bool chroma) const {
    Rect square{static_cast<double>(x), static_cast<double>(y), 1, 1};
    if (canvas_) square = intersection(square, canvasToPlane(chroma).bounds(*canvas_));
    return keepsRectangles_ ? exact(fromPlane_.bounds(square)) : counted(square);
  }

 private:
  static Rect intersection(const Rect& left, const Rect& right) {
    const double x = std::max(left.x, right.x), y = std::max(left.y, right.y);
    return {x, y, std::max(0.0, std::min(left.maxX(), right.maxX()) - x),
            std::max(0.0, std::min(left.maxY(), right.maxY()) - y)};
  }

  /// Where the mask begins and ends on a line, in the source's pixels.
  std::pair<double, double> span(double y) const {
    const auto& [rect, radiusX, radiusY] = *image_.mask;
    const double depth = std::max({rect.y + radiusY - y, y - (rect.maxY() - radiusY), 0.0});
    const double part = radiusY > 0 ? std::min(1.0, depth / radiusY) : 0;
    const double inset = radiusX * (1 - std::sqrt(1 - part * part));
    return {rect.x + inset, rect.maxX() - inset};
  }

  /// Whether a rectangle inside the mask comes to where its corners are.
  bool meetsCorner(const Rect& inside) const {
    const auto& [rect, radiusX, radiusY] = *image_.mask;
    return (inside.x < rect.x + radiusX || inside.maxX() > rect.maxX() - radiusX) &&
           (inside.y < rect.y + radiusY || inside.maxY() > rect.maxY() - radiusY);
  }

  /// `square` has become a rectangle of the source: of each of many lines, the exact share.
  double exact(const Rect& square) const {
    Rect inside = intersection(square, image_.crop);
    if (image_.mask) inside = intersection(inside, image_.mask->rect);
    if (!(inside.width > 0 && inside.height > 0)) return 0;
    double width = inside.width;
    if (image_.mask && meetsCorner(inside)) {
      constexpr int lines = 256;
      width = 0;
      for (int i = 0; i < lines; ++i) {
        const auto [from, to] = span(inside.y + inside.height * (i + 0.5) / lines);
        width += std::max(0.0, std::min(to, inside.maxX()) - std::max(from, inside.x)) / lines;
      }
    }
    return width * inside.height / (square.width * square.height);
  }

  double counted(const Rect& square) const {
    constexpr int side = 32;
    int inside = 0;
    for (int j = 0; j < side; ++j)
      for (int i = 0; i < side; ++i) {
        const Point place = fromPlane_.apply(
            {square.x + square.width * (i + 0.5) / side, square.y + square.height * (j + 0.5) / side});
        if (!image_.crop.contains(place)) continue;
        if (image_.mask) {
          if (!image_.mask->rect.contains(place)) continue;
          const auto [from, to] = span(place.y);
          if (place.x < from || place.x >= to) continue;
        }
        ++inside;
      }
    return inside / static_cast<double>(side * side);
  }

  const Image& image_;
  AffineTransform fromPlane_;
  bool keepsRectangles_;
  std::optional<Rect> canvas_;
};

/// Samples on either side that a Gaussian needs; beyond lies a billionth of it.
int reach(double sigma) {
  return sigma > 0 ? static_cast<int>(std::ceil(6 * sigma)) : 0;
}

/// Blurs along one axis, along which the result is smaller by the reach on either side.
Plane blurred(const Plane& plane, double sigma, bool across) {
  if (!(sigma > 0)) return plane;
  std::vector<double> weights;
  for (int i = -reach(sigma); i <= reach(sigma); ++i)
    weights.push_back(std::exp(-i * i / (2 * sigma * sigma)));
  const double total = std::accumulate(weights.begin(), weights.end(), 0.0);
  const int lost = 2 * reach(sigma);
  Plane result{across ? plane.width - lost : plane.width, across ? plane.height : plane.height - lost, {}};
  for (int y = 0; y < result.height; ++y)
    for (int x = 0; x < result.width; ++x) {
      double sum = 0;
      for (int i = 0; i <= lost; ++i) sum += weights[i] * (across ? plane.at(x + i, y) : plane.at(x, y + i));
      result.values.push_back(sum / total);
    }
  return result;
}

void draw(const Image& image, int index, Plane& below, const Rect& canvas) {
  const bool chroma = index > 0;
  const AffineTransform toPlane = image.toCanvas.then(canvasToPlane(chroma));
  if (!(image.crop.width > 0 && image.crop.height > 0)) return;
  const Content content(image, index, toPlane);
  if (content.isEmpty()) return;

  const double blurX = chroma ? image.blurX / 2 : image.blurX, blurY = chroma ? image.blurY / 2 : image.blurY;
  const bool isBlurred = blurX > 0 || blurY > 0;
  const bool goesOn = isBlurred && image.blurEdges == Image::BlurEdges::extended;
  const Coverage onCanvas(image, toPlane, canvas), anywhere(image, toPlane, std::nullopt);

  // Beyond the canvas lies what a blur brings in.
  const int left = -reach(blurX), top = -reach(blurY);
  Plane value{below.width - 2 * left, below.height - 2 * top, {}}, alpha = value;
  for (int y = top; y < below.height - top; ++y)
    for (int x = left; x < below.width - left; ++x) {
      const double covered = goesOn ? 1 : (isBlurred ? anywhere : onCanvas).of(x, y, chroma);
      const auto [sample, opaque] = covered > 0 ? content.at(x, y) : std::pair(0.0, 0.0);
      value.values.push_back(sample * covered);
      alpha.values.push_back(opaque * covered);
    }
  value = blurred(blurred(value, blurX, true), blurY, false);
  alpha = blurred(blurred(alpha, blurX, true), blurY, false);

  for (int y = 0; y < below.height; ++y)
    for (int x = 0; x < below.width; ++x) {
      const double shown = image.opacity * (goesOn ? onCanvas.of(x, y, chroma) : 1);
      below.at(x, y) = value.at(x, y) * shown + (1 - alpha.at(x, y) * shown) * below.at(x, y);
    }
}

}  // namespace

Frame render(std::span<const Image> images, int width, int height) {
  const Rect canvas{0, 0, static_cast<double>(width), static_cast<double>(height)};
  Frame frame;
  for (int index = 0; index < 3; ++index) {
    Plane& plane = frame[index];
    plane = {index > 0 ? width / 2 : width, index > 0 ? height / 2 : height, {}};
    plane.values.assign(static_cast<std::size_t>(plane.width) * plane.height, offsets[index]);
    for (const Image& image : images) draw(image, index, plane, canvas);
  }
  return frame;
}

Agreement compare(const PixelBuffer& drawn, const Frame& plain) {
  Agreement result;
  std::array<double, 3> decibels{};
  for (int index = 0; index < 3; ++index) {
    const Plane& plane = plain[index];
    double squares = 0;
    for (int y = 0; y < plane.height; ++y)
      for (int x = 0; x < plane.width; ++x) {
        const std::uint8_t* row = drawn.planes[index].data + std::ptrdiff_t{y} * drawn.planes[index].stride;
        const double difference = std::abs(row[x] - plane.at(x, y));
        squares += difference * difference;
        result.largest = std::max(result.largest, difference);
      }
    const double mean = squares / static_cast<double>(plane.values.size());
    decibels[index] = mean > 0 ? std::min(100.0, 10 * std::log10(255 * 255 / mean)) : 100;
  }
  result.luma = decibels[0];
  result.chroma = std::min(decibels[1], decibels[2]);
  return result;
}

}  // namespace quillant::PlainRenderer
