#include "Editor/Composition/Layers/VideoLayer.h"

#include <algorithm>

#include "Editor/Composition/Layers/UprightPicture.h"

namespace quillant::VideoLayer {

namespace {

// Of a shadow of full intensity.
constexpr double shadowBlur = 38;  ///< Pixels of standard deviation.
constexpr double shadowDrop = 18;  ///< Pixels.
constexpr double shadowOpacity = 0.55;

Image shadow(const Image& body, double intensity) {
  return body.blurred(intensity * shadowBlur, Image::BlurEdges::fading)
      .transformed(AffineTransform::translation(0, intensity * shadowDrop))
      .faded(intensity * shadowOpacity);
}

}  // namespace

void append(std::vector<Image>& images, const VideoBackgroundCompositionInstruction& instruction,
            const VideoPlacement& placement, const PixelBufferRef& picture) {
  const auto video = uprightPicture(picture, instruction.preferredTransform, instruction.normalizedSize)
                         .cropped(placement.crop)
                         .transformed(placement.toCanvas)
                         .rounded(placement.drawn, placement.cornerRadius);
  const auto panel = [&](const SerializableColor& color) {
    return Image::flat(color, placement.frame).rounded(placement.frame, placement.cornerRadius);
  };
  const auto& inset = instruction.styling.inset;
  const double intensity = instruction.styling.shadowIntensity;
  if (intensity > 0) images.push_back(shadow(inset.showsPanel() ? panel({0, 0, 0, 1}) : video, intensity));
  if (inset.showsPanel()) {
    auto color = inset.color;
    color.alpha = std::clamp(inset.opacity * color.alpha, 0.0, 1.0);
    images.push_back(panel(color));
  }
  images.push_back(video);
}

}  // namespace quillant::VideoLayer
