#pragma once

#include "Core/SerializableColor.h"
#include "Editor/Project/VideoInsetBalance.h"

namespace quillant {

/// The panel that a video is set into.
struct VideoInsetStyling {
  double amountRatio = 0;  ///< The part of the frame that becomes panel: 0...0.95, 0 is no panel.
  SerializableColor color = SerializableColor::fromHex("276FAA");
  double opacity = 1;
  VideoInsetBalance balance;

  /// Whether something of a panel is seen.
  bool showsPanel() const { return amountRatio > 0 && opacity > 0; }
  friend bool operator==(const VideoInsetStyling&, const VideoInsetStyling&) = default;
};

}  // namespace quillant
