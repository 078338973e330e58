#pragma once

#include "Editor/Composition/VideoInsetStyling.h"
#include "Editor/Project/BackgroundStyle.h"
#include "Editor/Project/ProjectEditorState.h"

namespace quillant {

/// What a video sits on and how it is framed. Ratios are fractions of the canvas's short side, so that a
/// preview and an export of another size look alike. The member values are no styling at all.
struct VideoBackgroundStyling {
  BackgroundStyle background = TransparentBackground{};
  double paddingRatio = 0;
  double borderRadiusRatio = 0;
  double shadowIntensity = 0;  ///< 0...1
  double backgroundBlurRatio = 0;
  VideoInsetStyling inset;

  /// A document's: its lengths are points of a canvas whose short side is 360, its inset is hundredths.
  static VideoBackgroundStyling of(const ProjectVideoEditorState& state);
  /// Whether there is nothing around the picture, under it or at its edges.
  bool isPlain() const;

  friend bool operator==(const VideoBackgroundStyling&, const VideoBackgroundStyling&) = default;
};

}  // namespace quillant
