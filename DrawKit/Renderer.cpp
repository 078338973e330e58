#include "DrawKit/Renderer.h"

#include <algorithm>
#include <new>
#include <vector>

#include "Core/PixelRects.h"
#include "DrawKit/DrawingError.h"
#include "DrawKit/Rendering/BandPainter.h"
#include "DrawKit/Rendering/FrameRing.h"
#include "DrawKit/Rendering/Ground.h"
#include "DrawKit/Rendering/LayerPlan.h"
#include "DrawKit/Rendering/RectSet.h"
#include "DrawKit/Rendering/SourceCache.h"

namespace quillant {

namespace {

/// Whether an image is the one before but for what its picture says has changed.
bool differsInChangesAlone(const Image& before, const Image& now) {
  const auto* from = std::get_if<PixelBufferRef>(&before.source);
  const auto* to = std::get_if<PixelBufferRef>(&now.source);
  if (!from || !to || (*to)->source == 0 || (*to)->source != (*from)->source ||
      (*to)->sequence != (*from)->sequence + 1)
    return false;
  Image same = before;
  same.source = now.source;
  return same == now;
}

/// Rows that one thread draws at once: its part of the frame stays in the cache while layer after layer is
/// drawn, and little is filtered twice.
constexpr int bandHeight = 128;
/// Columns: the filtered rows of so many, and what they are filtered with, stay in the nearest cache.
constexpr int bandWidth = 2048;

}  // namespace

struct Renderer::State {
  State(const Options& options, BandPool& threads)
      : canvas{0, 0, options.width, options.height},
        pool(threads),
        frames(options.width, options.height),
        ground(options.width, options.height),
        cache(options.keptBytes, threads),
        workers(static_cast<std::size_t>(threads.threads())) {}

  /// What a thread needs to draw.
  struct Worker {
    BandPainter painter;
    std::vector<PixelRect> visible;
  };

  PixelRect canvas;
  BandPool& pool;
  FrameRing frames;
  Ground ground;
  SourceCache cache;
  std::vector<Worker> workers;

  // The frame before: what it was of, and where each of that showed.
  std::vector<Image> images;
  std::vector<PixelRect> places;
  bool nothingDrawn = true;

  std::vector<LayerPlan> layers;
  std::vector<PixelRect> changed;
  std::vector<PixelRect> bands;
  std::vector<PixelRect> visible;

  std::size_t unchangedImages(std::span<const Image> now) const;
  void findChanges(std::span<const Image> now);
  bool addChangesOfPicture(std::size_t index, const Image& now);
  void draw(std::span<const Image> now, const std::vector<PixelRect>& areas, std::size_t end,
            const PixelBuffer& frame);
  void drawBand(Worker& worker, const PixelRect& band, std::size_t end, const PixelBuffer& frame) const;
  void setVisible(std::vector<PixelRect>& set, const PixelRect& area, std::size_t layer,
                  std::size_t end) const;
  PixelBufferRef render(std::span<const Image> now);
};

/// Adds where an image shows what its picture says has changed. False if anything else has, or it does not
/// say.
bool Renderer::State::addChangesOfPicture(std::size_t index, const Image& now) {
  return differsInChangesAlone(images[index], now) &&
         layers[index].addShown(changed, now, std::get<PixelBufferRef>(now.source)->changed);
}

/// Where the list of images, each in its order, differs from the one before.
void Renderer::State::findChanges(std::span<const Image> now) {
  changed.clear();
  if (nothingDrawn) {
    changed.push_back(canvas);
    return;
  }
  if (now.size() == images.size()) {
    for (std::size_t i = 0; i < now.size(); ++i) {
      if (now[i] == images[i] || addChangesOfPicture(i, now[i])) continue;
      RectSet::add(changed, layers[i].bounds());
      RectSet::add(changed, places[i]);
    }
    return;
  }
  // Something has come or gone in the middle, between what is alike at both ends.
  const std::size_t shorter = std::min(now.size(), images.size());
  std::size_t first = 0, last = 0;
  while (first < shorter && now[first] == images[first]) ++first;
  while (last < shorter - first && now[now.size() - 1 - last] == images[images.size() - 1 - last]) ++last;
  for (std::size_t i = first; i + last < now.size(); ++i) RectSet::add(changed, layers[i].bounds());
  for (std::size_t i = first; i + last < images.size(); ++i) RectSet::add(changed, places[i]);
}

/// How many of the lowest are as they were.
std::size_t Renderer::State::unchangedImages(std::span<const Image> now) const {
  std::size_t count = 0;
  while (count < std::min(now.size(), images.size()) && now[count] == images[count]) ++count;
  return count;
}

/// What shows of an area below the opaque parts of the layers from `layer` to `end`.
void Renderer::State::setVisible(std::vector<PixelRect>& set, const PixelRect& area, std::size_t layer,
                                 std::size_t end) const {
  set.clear();
  if (area.width == 0) return;
  set.push_back(area);
  for (std::size_t above = layer; above < end; ++above)
    for (const PixelRect& hidden : layers[above].opaque()) RectSet::subtract(set, hidden);
}

/// Draws the layers up to `end` into those areas, on top of the ground.
void Renderer::State::draw(std::span<const Image> now, const std::vector<PixelRect>& areas, std::size_t end,
                           const PixelBuffer& frame) {
  for (std::size_t i = ground.layers(); i < end; ++i) {
    const auto shows = [&](const PixelRect& area) {
      setVisible(visible, PixelRects::intersection(area, layers[i].bounds()), i + 1, end);
      return !visible.empty();
    };
    if (std::ranges::any_of(areas, shows)) layers[i].load(now[i], cache);
  }
  bands.clear();
  for (const PixelRect& rect : areas)
    for (int y = 0; y < rect.height; y += bandHeight)
      for (int x = 0; x < rect.width; x += bandWidth)
        bands.push_back({rect.x + x, rect.y + y, std::min(bandWidth, rect.width - x),
                         std::min(bandHeight, rect.height - y)});
  pool.run(static_cast<int>(bands.size()), [&](int worker, int band) {
    drawBand(workers[static_cast<std::size_t>(worker)], bands[static_cast<std::size_t>(band)], end, frame);
  });
}

void Renderer::State::drawBand(Worker& worker, const PixelRect& band, std::size_t end,
                               const PixelBuffer& frame) const {
  setVisible(worker.visible, band, ground.layers(), end);
  for (const PixelRect& area : worker.visible) ground.copy(area, frame);
  for (std::size_t i = ground.layers(); i < end; ++i) {
    setVisible(worker.visible, PixelRects::intersection(band, layers[i].bounds()), i + 1, end);
    for (const PixelRect& area : worker.visible) worker.painter.draw(layers[i], area, frame);
  }
}

PixelBufferRef Renderer::State::render(std::span<const Image> now) {
  layers.resize(now.size());
  for (std::size_t i = 0; i < now.size(); ++i) layers[i].place(now[i], canvas.width, canvas.height);
  findChanges(now);
  if (const std::size_t layersToKeep = ground.next(unchangedImages(now)); layersToKeep > 0) {
    ground.clear();
    draw(now, {1, canvas}, layersToKeep, ground.frame());
    ground.keep(layersToKeep);
  }
  draw(now, changed, now.size(), frames.begin(changed));
  images.assign(now.begin(), now.end());
  places.clear();
  for (const LayerPlan& layer : layers) places.push_back(layer.bounds());
  nothingDrawn = false;
  cache.endFrame();
  return frames.publish(changed);
}

Renderer::Renderer(const Options& options, BandPool& pool) {
  const auto fits = [](int side) { return side >= 2 && side <= longestSide && side % 2 == 0; };
  if (!fits(options.width) || !fits(options.height)) throw DrawingError(DrawingError::Kind::size);
  state_ = std::make_unique<State>(options, pool);
}

Renderer::~Renderer() = default;

PixelBufferRef Renderer::render(std::span<const Image> images) {
  try {
    return state_->render(images);
  } catch (const std::bad_alloc&) {
    state_->frames.forget();
    state_->ground.clear();
    state_->cache.clear();
    state_->images.clear();
    state_->nothingDrawn = true;
    throw DrawingError(DrawingError::Kind::drawing);
  }
}

}  // namespace quillant
