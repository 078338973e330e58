#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "Core/AffineTransform.h"
#include "Core/Geometry.h"
#include "Core/PixelBuffer.h"
#include "Editor/Composition/CaptionRenderPlan.h"
#include "Editor/Composition/FrameComposer.h"
#include "Editor/Composition/VideoBackgroundCompositionInstruction.h"
#include "tools/CompositionSheet/PaintedPicture.h"

namespace quillant {

/// A frame to compose, told by what differs from an unstyled desktop of ten seconds.
struct CompositionScene {
  static constexpr double duration = 10;

  Size canvas{320, 180};
  double time = 5;

  int width = 640;  ///< Of the pictures as they are stored.
  int height = 360;
  PixelFormat format = PixelFormat::i420;
  ColorEncoding encoding;
  AffineTransform matrix;  ///< The track's.
  double pixelAspect = 1;
  PaintedPicture::Painter painter;                     ///< None: a desktop.
  Rect crop{.x = 0, .y = 0, .width = 1, .height = 1};  ///< Fractions of the upright picture.

  VideoBackgroundStyling styling;
  std::vector<TimelineClip> clips;  ///< None: the whole recording.
  std::vector<TimelineZoomRegion> zooms;
  std::vector<TimelineAnnotationRegion> annotations;
  std::optional<CursorOverlaySettings> cursor;
  Point pointer{0.5, 0.5};  ///< Fractions of the upright picture.
  std::optional<FacecamSettings> camera;
  int cameraWidth = 160;
  int cameraHeight = 120;
  PaintedPicture::Painter cameraPainter;  ///< None: a person.
  CaptionRenderPlan captions;

  static constexpr int sourceTrack = 1;
  static constexpr int cameraTrack = 2;

  std::shared_ptr<const VideoBackgroundCompositionInstruction> instruction() const;
  std::vector<TrackFrame> frames() const;
};

}  // namespace quillant
