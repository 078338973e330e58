#include "Editor/Composition/FrameComposer.h"

#include <algorithm>
#include <utility>

#include "Editor/Composition/CaptionRenderer.h"
#include "Editor/Composition/Layers/BackdropLayer.h"
#include "Editor/Composition/Layers/VideoLayer.h"
#include "Editor/Composition/VideoCompositorError.h"

namespace quillant {

namespace {

PixelBufferRef pictureOf(std::span<const TrackFrame> frames, int trackID) {
  const auto found = std::ranges::find(frames, trackID, &TrackFrame::trackID);
  return found == frames.end() ? nullptr : found->picture;
}

/// Magnifies about the focus, which stays where it is on the canvas.
AffineTransform transform(const TimelineZoomEffect& effect, const Size& canvas) {
  const Point focus{canvas.width * effect.focusX, canvas.height * effect.focusY};
  return AffineTransform::translation(-focus.x, -focus.y)
      .then(AffineTransform::scale(effect.scale, effect.scale))
      .then(AffineTransform::translation(focus.x, focus.y));
}

}  // namespace

FrameComposer::FrameComposer(std::shared_ptr<WallpaperImageCache> wallpapers)
    : wallpapers_(wallpapers ? std::move(wallpapers) : std::make_shared<WallpaperImageCache>("")) {}

std::span<const Image> FrameComposer::compose(
    const std::shared_ptr<const VideoBackgroundCompositionInstruction>& instruction, double outputTime,
    std::span<const TrackFrame> frames) {
  if (!instruction || !instruction->edit)
    throw VideoCompositorError(VideoCompositorError::Kind::missingInstruction);
  if (instruction != instruction_) prepare(instruction);

  const auto pictureOfFile = [&](const File& file) {
    return pictureOf(frames, file.instruction->sourceTrackID);
  };
  const File* file = &files_[fileOf_[instruction->edit->source(outputTime)]];
  auto picture = pictureOfFile(*file);
  for (auto next = files_.begin(); !picture && next != files_.end(); ++next)
    picture = pictureOfFile(*(file = &*next));
  if (!picture) throw VideoCompositorError(VideoCompositorError::Kind::missingSourceFrame);

  const auto& camera = file->instruction->facecamTrackID;
  makeComposedImage(*file, outputTime, picture, camera ? pictureOf(frames, *camera) : nullptr);
  return images_;
}

void FrameComposer::makeComposedImage(const File& file, double outputTime, const PixelBufferRef& picture,
                                      const PixelBufferRef& camera) {
  const auto& [instruction, placement, backdrop, glyph, bubbles] = file;
  const PreparedEdit& edit = *instruction->edit;
  const double sourceTime = edit.sourceTime(instruction->source, outputTime).value_or(outputTime);
  images_.clear();

  if (backdrop) images_.push_back(*backdrop);
  VideoLayer::append(images_, *instruction, placement, picture);
  if (glyph)
    if (auto cursor = CursorLayer::image(*instruction, placement, *glyph, sourceTime))
      images_.push_back(std::move(*cursor));

  const auto amount = camera ? edit.cameraFullScreenAmount(outputTime) : std::nullopt;
  const auto settings = amount ? edit.activeCameraSettings(instruction->source, sourceTime) : std::nullopt;
  const auto appendCamera = [&, &cameraBubbles = bubbles] {
    FacecamLayer::append(images_, *instruction, cameraBubbles[*settings], *amount, camera);
  };
  // In its bubble the camera is a part of the canvas; one that grows, or is grown, stays out of the zoom.
  if (settings && *amount == 0) appendCamera();
  AffineTransform zoom;
  if (const auto effect = edit.zoom(instruction->source, outputTime, instruction->cursorTrack.get());
      effect && effect->scale > 1) {
    zoom = transform(*effect, instruction->renderSize);
    for (Image& image : images_) image = image.transformed(zoom);
  }
  if (settings && *amount > 0) appendCamera();
  if (instruction->showsAnnotations) appendAnnotations(*instruction, outputTime, zoom);

  if (auto caption = CaptionRenderer::shared().image(edit.captions(), outputTime, instruction->renderSize))
    images_.push_back(std::move(*caption));
}

void FrameComposer::appendAnnotations(const VideoBackgroundCompositionInstruction& instruction,
                                      double outputTime, const AffineTransform& zoom) {
  const auto& annotations = instruction.edit->annotations();
  for (const auto& play : annotations.plays()) {
    const double opacity = play.opacity(outputTime);
    if (!(opacity > 0)) continue;
    if (const auto image = annotations_.image(annotations.regions()[play.region], instruction.renderSize))
      images_.push_back(image->transformed(zoom).faded(opacity));
  }
}

void FrameComposer::prepare(const std::shared_ptr<const VideoBackgroundCompositionInstruction>& instruction) {
  instruction_ = nullptr;  // of what is half prepared, if memory runs out
  files_.clear();
  fileOf_.assign(instruction->edit->sourceCount(), 0);
  files_.push_back(prepared(*instruction));
  for (PreparedEdit::SourceNumber number = 0; number < fileOf_.size(); ++number) {
    const auto& shown = instruction->of(number);
    if (&shown == instruction.get()) continue;
    fileOf_[number] = files_.size();
    files_.push_back(prepared(shown));
  }
  instruction_ = instruction;
}

FrameComposer::File FrameComposer::prepared(const VideoBackgroundCompositionInstruction& instruction) {
  File file{.instruction = &instruction, .placement = VideoPlacement::of(instruction)};
  file.backdrop = backdrop(instruction.styling, instruction.renderSize);
  file.glyph = CursorLayer::glyph(instruction, file.placement, glyphs_);
  for (const auto& settings : instruction.edit->cameraSettings(instruction.source))
    file.bubbles.push_back(FacecamBubble::of(instruction.renderSize, settings));
  return file;
}

const std::optional<Image>& FrameComposer::backdrop(const VideoBackgroundStyling& styling,
                                                    const Size& canvas) {
  const bool isKept = backdrop_ && backdrop_->background == styling.background &&
                      backdrop_->blurRatio == styling.backgroundBlurRatio && backdrop_->canvas == canvas;
  if (!isKept)
    backdrop_ = {styling.background, styling.backgroundBlurRatio, canvas,
                 BackdropLayer::image(styling, canvas, *wallpapers_)};
  return backdrop_->image;
}

}  // namespace quillant
