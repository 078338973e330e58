#pragma once

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "Core/Geometry.h"
#include "Core/PixelBuffer.h"
#include "DrawKit/Image.h"
#include "Editor/Composition/Layers/AnnotationLayer.h"
#include "Editor/Composition/Layers/CursorLayer.h"
#include "Editor/Composition/Layers/FacecamLayer.h"
#include "Editor/Composition/VideoBackgroundCompositionInstruction.h"
#include "Editor/Composition/VideoPlacement.h"
#include "Editor/Composition/WallpaperImageCache.h"

namespace quillant {

/// A decoded picture and the track that it is from.
struct TrackFrame {
  int trackID = 0;
  PixelBufferRef picture;
};

/// Describes finished frames: which images lie over one another. It keeps what the frames of one instruction
/// share, and nothing that depends on the frame before. One thread at a time.
class FrameComposer {
 public:
  /// Without wallpapers all of them are black.
  explicit FrameComposer(std::shared_ptr<WallpaperImageCache> wallpapers);

  /// The frame at an output time, its images over one another on a canvas of the instruction's `renderSize`.
  /// For a file that has no picture among `frames` the next one that has is used: at a seam a frame still
  /// comes. Valid up to the next call. Throws `VideoCompositorError` of kind missingInstruction or
  /// missingSourceFrame.
  std::span<const Image> compose(
      const std::shared_ptr<const VideoBackgroundCompositionInstruction>& instruction, double outputTime,
      std::span<const TrackFrame> frames);

 private:
  /// What all frames of a file share.
  struct File {
    const VideoBackgroundCompositionInstruction* instruction;
    VideoPlacement placement;
    std::optional<Image> backdrop;
    std::shared_ptr<const CursorGlyphImage> glyph;
    std::vector<FacecamBubble> bubbles;  ///< One for each of the file's camera settings.
  };
  /// A backdrop that was drawn: the slider of something else may be dragged meanwhile.
  struct KeptBackdrop {
    BackgroundStyle background;
    double blurRatio;
    Size canvas;
    std::optional<Image> image;
  };

  void prepare(const std::shared_ptr<const VideoBackgroundCompositionInstruction>& instruction);
  File prepared(const VideoBackgroundCompositionInstruction& instruction);
  const std::optional<Image>& backdrop(const VideoBackgroundStyling& styling, const Size& canvas);
  void appendAnnotations(const VideoBackgroundCompositionInstruction& instruction, double outputTime,
                         const AffineTransform& zoom);
  void makeComposedImage(const File& file, double outputTime, const PixelBufferRef& picture,
                         const PixelBufferRef& camera);

  std::shared_ptr<WallpaperImageCache> wallpapers_;
  CursorGlyphCache glyphs_;
  AnnotationLayer annotations_;
  std::optional<KeptBackdrop> backdrop_;
  std::shared_ptr<const VideoBackgroundCompositionInstruction> instruction_;  ///< That is prepared.
  std::vector<File> files_;                                                   ///< The main recording first.
  std::vector<std::size_t> fileOf_;                                           ///< By source number.
  std::vector<Image> images_;
};

}  // namespace quillant
