#include "Editor/Composition/Layers/CursorLayer.h"

#include <algorithm>

#include "Editor/Composition/CursorOverlayGeometry.h"
#include "Editor/Composition/CursorStyleRenderer.h"
#include "Editor/Project/CursorStyleRegistry.h"

namespace quillant {

std::shared_ptr<const CursorGlyphImage> CursorGlyphCache::image(const std::string& styleID, double size) {
  constexpr double tenths = 10;
  const auto sizeKey = static_cast<int>(std::clamp(size * tenths, tenths, 1e6));
  if (const auto* found = drawn_.find(
          [&](const Entry& entry) { return entry.sizeKey == sizeKey && entry.styleID == styleID; }))
    return found->glyph;
  const bool isKnown = CursorStyleRegistry::definition(styleID) != nullptr;
  const auto rendered = CursorStyleRenderer::renderedGlyph(
      isKnown ? std::string_view(styleID) : CursorStyleRegistry::fallbackID, sizeKey / tenths);
  if (!rendered) return nullptr;
  auto glyph = std::make_shared<CursorGlyphImage>(CursorGlyphImage{rendered->image, rendered->hotspot});
  return drawn_.add({styleID, sizeKey, std::move(glyph)}).glyph;
}

namespace CursorLayer {

std::shared_ptr<const CursorGlyphImage> glyph(const VideoBackgroundCompositionInstruction& instruction,
                                              const VideoPlacement& placement, CursorGlyphCache& cache) {
  const auto& settings = instruction.cursorSettings;
  if (!settings.isVisible || !instruction.cursorTrack || instruction.cursorTrack->samples.empty())
    return nullptr;
  using namespace CursorOverlayGeometry;
  return cache.image(settings.styleID,
                     glyphSize(displayScale(placement.content, placement.crop), settings.size));
}

std::optional<Image> image(const VideoBackgroundCompositionInstruction& instruction,
                           const VideoPlacement& placement, const CursorGlyphImage& glyph,
                           double sourceTime) {
  const auto& settings = instruction.cursorSettings;
  const auto& track = *instruction.cursorTrack;
  const auto point = track.point(sourceTime, settings.loops, settings.smoothing);
  if (!point) return std::nullopt;
  const Point tip = CursorOverlayGeometry::tip(
      {.contentRect = placement.content,
       .cropRect = placement.crop,
       .normalizedSize = instruction.normalizedSize,
       .trackSize = {static_cast<double>(track.width), static_cast<double>(track.height)},
       .canvasSize = instruction.renderSize},
      *point);
  return Image::picture(glyph.image)
      .transformed(AffineTransform::translation(tip.x - glyph.tipOffset.x, tip.y - glyph.tipOffset.y));
}

}  // namespace CursorLayer
}  // namespace quillant
