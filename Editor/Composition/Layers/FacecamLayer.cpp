#include "Editor/Composition/Layers/FacecamLayer.h"

#include <algorithm>

#include "Editor/Composition/FacecamOverlayLayout.h"
#include "Editor/Composition/Layers/UprightPicture.h"

namespace quillant {

namespace {

/// A thinner border is not drawn; pixels.
constexpr double thinnestBorder = 0.01;

Rect inset(const Rect& rect, double by) {
  return {rect.x + by, rect.y + by, std::max(0.0, rect.width - 2 * by), std::max(0.0, rect.height - 2 * by)};
}

double halfShortSide(const Rect& rect) {
  return std::min(rect.width, rect.height) / 2;
}

/// `picture` made as large as it must be to fill `frame`, and centred on it.
Image filling(const Image& picture, const Rect& frame) {
  const Rect extent = picture.bounds();
  const double scale =
      std::max(frame.width / std::max(extent.width, 1.0), frame.height / std::max(extent.height, 1.0));
  return picture.transformed(
      AffineTransform::scale(scale, scale)
          .then(AffineTransform::translation(frame.center().x - extent.width * scale / 2,
                                             frame.center().y - extent.height * scale / 2)));
}

}  // namespace

FacecamBubble FacecamBubble::of(const Size& canvas, const FacecamSettings& asked) {
  const auto settings = asked.clamped();
  const Rect frame = FacecamOverlayLayout::frame(canvas, settings);
  return {.frame = frame,
          .cornerRadius = FacecamOverlayLayout::cornerRadius(frame, settings),
          .borderWidth = settings.borderWidth,
          .borderColor = SerializableColor::fromHex(settings.borderColor)};
}

void FacecamLayer::append(std::vector<Image>& images,
                          const VideoBackgroundCompositionInstruction& instruction,
                          const FacecamBubble& bubble, double amount, const PixelBufferRef& picture) {
  if (!(bubble.frame.width > 0 && bubble.frame.height > 0)) return;
  const auto moved = [amount](double from, double to) { return from + (to - from) * amount; };
  const Rect frame{moved(bubble.frame.x, 0), moved(bubble.frame.y, 0),
                   moved(bubble.frame.width, instruction.renderSize.width),
                   moved(bubble.frame.height, instruction.renderSize.height)};
  const double radius = std::min(bubble.cornerRadius * (1 - amount), halfShortSide(frame));
  const auto camera = filling(
      uprightPicture(picture, instruction.facecamPreferredTransform, instruction.facecamNormalizedSize),
      frame);
  const double width = bubble.borderWidth * (1 - amount);
  if (!(width > thinnestBorder)) {
    images.push_back(camera.rounded(frame, radius));
    return;
  }

  // A line along a path of the frame's own radius, half its width inside the frame: what is between two
  // rounded rectangles. The corners of the picture show beyond those of a line, but never beyond a circle's.
  const double pathRadius = std::min(radius, halfShortSide(inset(frame, width / 2)));
  const double outerRadius = pathRadius > 0 ? pathRadius + width / 2 : 0;
  if (outerRadius > radius + 1e-9) images.push_back(camera.rounded(frame, radius));
  images.push_back(Image::flat(bubble.borderColor, frame).rounded(frame, outerRadius));
  const Rect inside = inset(frame, width);
  if (inside.width > 0 && inside.height > 0)
    images.push_back(camera.rounded(inside, std::max(0.0, pathRadius - width / 2)));
}

}  // namespace quillant
