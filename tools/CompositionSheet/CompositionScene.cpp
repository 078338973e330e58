#include "tools/CompositionSheet/CompositionScene.h"

#include <cmath>

namespace quillant {

std::shared_ptr<const VideoBackgroundCompositionInstruction> CompositionScene::instruction() const {
  TimelineEditSnapshot edits;
  edits.zoomRegions = zooms;
  if (!clips.empty()) edits.clipList = CopyOnWriteVector<TimelineClip>(clips);
  std::vector<PreparedEdit::Source> sources{{.id = std::nullopt, .duration = duration}};
  if (camera) sources[0].camera = TimelineSpan{0, duration};

  VideoBackgroundCompositionInstruction result;
  result.sourceTrackID = sourceTrack;
  if (camera) result.facecamTrackID = cameraTrack;
  result.styling = styling;
  const auto [transform, size] =
      PictureOrientation::of({static_cast<double>(width), static_cast<double>(height)}, matrix, pixelAspect);
  result.preferredTransform = transform;
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
