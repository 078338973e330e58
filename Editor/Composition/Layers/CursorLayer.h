#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Core/Geometry.h"
#include "Core/PixelBuffer.h"
#include "DrawKit/Image.h"
#include "Editor/Composition/RecentlyUsed.h"
#include "Editor/Composition/VideoBackgroundCompositionInstruction.h"
#include "Editor/Composition/VideoPlacement.h"

namespace quillant {

/// A cursor's picture and the place in it that lies on the recorded position.
struct CursorGlyphImage {
  PixelBufferRef image;
  Point tipOffset;  ///< From the picture's top left corner.
};

/// The glyphs that were drawn last. One thread at a time.
class CursorGlyphCache {
 public:
  /// Null where the glyph cannot be drawn. An id that is no style's draws the fallback. Sizes are told apart
  /// by tenths and drawn at the tenth, so that a picture does not depend on those before it.
  std::shared_ptr<const CursorGlyphImage> image(const std::string& styleID, double size);

 private:
  struct Entry {
    std::string styleID;
    int sizeKey;  ///< Tenths of a pixel.
    std::shared_ptr<const CursorGlyphImage> glyph;
  };
  RecentlyUsed<Entry> drawn_{16};  ///< A slider that is dragged asks for a hundred sizes.
};

/// The cursor on the recording.
namespace CursorLayer {

/// The glyph that every frame of an instruction shows; null where none shows.
std::shared_ptr<const CursorGlyphImage> glyph(const VideoBackgroundCompositionInstruction& instruction,
                                              const VideoPlacement& placement, CursorGlyphCache& cache);

/// The glyph with its tip where the pointer was at a source time.
std::optional<Image> image(const VideoBackgroundCompositionInstruction& instruction,
                           const VideoPlacement& placement, const CursorGlyphImage& glyph, double sourceTime);

}  // namespace CursorLayer
}  // namespace quillant
