#include "Editor/Composition/VideoBackgroundStyling.h"

namespace quillant {

namespace {

/// The short side of the canvas that a document's lengths refer to, in points.
constexpr double referenceSide = 360;

}  // namespace

VideoBackgroundStyling VideoBackgroundStyling::of(const ProjectVideoEditorState& state) {
  return {.background = state.background,
          .paddingRatio = state.padding / referenceSide,
          .borderRadiusRatio = state.borderRadius / referenceSide,
          .shadowIntensity = state.shadow,
          .backgroundBlurRatio = state.backgroundBlur / referenceSide,
          .inset = {.amountRatio = state.inset / 100,
                    .color = state.insetColor,
                    .opacity = state.insetOpacity,
                    .balance = state.insetBalance}};
}

bool VideoBackgroundStyling::isPlain() const {
  return std::holds_alternative<TransparentBackground>(background) && paddingRatio == 0 &&
         borderRadiusRatio == 0 && shadowIntensity == 0 && backgroundBlurRatio == 0 &&
         !(inset.amountRatio > 0);
}

}  // namespace quillant
