#include "tools/CompositionSheet/CompositionScene.h"

#include <cmath>

namespace quillant {

namespace {

struct Orientation {
  AffineTransform upright;
  Size size;
};

/// As `MediaTrack` tells it: with the upright picture's corner at the origin.
Orientation orientation(const CompositionScene& scene) {
  const auto turned = AffineTransform::scale(scene.pixelAspect, 1).then(scene.matrix);
  const Rect bounds =
      turned.bounds({0, 0, static_cast<double>(scene.width), static_cast<double>(scene.height)});
  return {turned.then(AffineTransform::translation(-bounds.x, -bounds.y)), {bounds.width, bounds.height}};
}

}  // namespace

std::shared_ptr<const VideoBackgroundCompositionInstruction> CompositionScene::instruction() const {
  TimelineEditSnapshot edits;
  edits.zoomRegions = zooms;
  edits.annotationRegions = annotations;
  if (!clips.empty()) edits.clipList = CopyOnWriteVector<TimelineClip>(clips);
  std::vector<PreparedEdit::Source> sources{{.id = std::nullopt, .duration = duration}};
  if (camera) sources[0].camera = TimelineSpan{0, duration};

  VideoBackgroundCompositionInstruction result;
  result.sourceTrackID = sourceTrack;
  if (camera) result.facecamTrackID = cameraTrack;
  result.styling = styling;
  const auto [upright, size] = orientation(*this);
  result.preferredTransform = upright;
  result.normalizedSize = size;
  result.cropRect = {crop.x * size.width, crop.y * size.height, crop.width * size.width,
                     crop.height * size.height};
  result.renderSize = canvas;
  result.edit = std::make_shared<PreparedEdit>(edits, std::move(sources), camera, captions);
  if (cursor) {
    const auto place = [](double fraction, double length) {
      return static_cast<std::int64_t>(std::lround(fraction * length));
    };
    CursorTelemetryPayload payload{.width = std::lround(size.width), .height = std::lround(size.height)};
    payload.samples.push_back({place(pointer.x, size.width), place(pointer.y, size.height), 0});
    result.cursorTrack = std::make_shared<CursorTelemetryTrack>(std::move(payload));
    result.cursorSettings = *cursor;
  }
  return std::make_shared<const VideoBackgroundCompositionInstruction>(std::move(result));
}

std::vector<TrackFrame> CompositionScene::frames() const {
  std::vector<TrackFrame> result{
      {sourceTrack, PaintedPicture::paint(width, height, format, encoding,
                                          painter ? painter : PaintedPicture::desktop(width, height))}};
  if (camera)
    result.push_back({cameraTrack, PaintedPicture::paint(
                                       cameraWidth, cameraHeight, PixelFormat::i420, {},
                                       cameraPainter ? cameraPainter
                                                     : PaintedPicture::person(cameraWidth, cameraHeight))});
  return result;
}

}  // namespace quillant
