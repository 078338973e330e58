#pragma once

#include <string>

#include "Core/JSONForward.h"
#include "Core/RawTexts.h"

namespace quillant {

enum class CursorClickEffect { none, subtleRing, ripple };
enum class CursorIdleBehavior { alwaysVisible, fadeWhenIdle };
enum class CursorMotionEffect { none, subtleLean };

template <>
inline constexpr auto rawTexts<CursorClickEffect> =
    std::to_array<RawText<CursorClickEffect>>({{CursorClickEffect::none, "none"},
                                               {CursorClickEffect::subtleRing, "subtleRing"},
                                               {CursorClickEffect::ripple, "ripple"}});
template <>
inline constexpr auto rawTexts<CursorIdleBehavior> =
    std::to_array<RawText<CursorIdleBehavior>>({{CursorIdleBehavior::alwaysVisible, "alwaysVisible"},
                                                {CursorIdleBehavior::fadeWhenIdle, "fadeWhenIdle"}});
template <>
inline constexpr auto rawTexts<CursorMotionEffect> = std::to_array<RawText<CursorMotionEffect>>(
    {{CursorMotionEffect::none, "none"}, {CursorMotionEffect::subtleLean, "subtleLean"}});

/// How the recorded cursor is drawn. The member values are the defaults.
struct CursorOverlaySettings {
  bool isVisible = true;
  bool loops = false;      ///< Whether the path starts over after its end.
  double size = 1;         ///< 1...8
  double smoothing = 0.4;  ///< 0...2; 0 is the recorded track.
  std::string styleID = "system.white";
  CursorClickEffect clickEffect = CursorClickEffect::subtleRing;
  CursorIdleBehavior idleBehavior = CursorIdleBehavior::alwaysVisible;
  CursorMotionEffect motionEffect = CursorMotionEffect::none;

  /// No cursor is drawn.
  static CursorOverlaySettings hidden() { return {.isVisible = false}; }
  /// These settings with every number in its range and a style that exists.
  CursorOverlaySettings clamped() const;
  friend bool operator==(const CursorOverlaySettings&, const CursorOverlaySettings&) = default;
};

void to_json(Json& json, const CursorOverlaySettings& settings);
/// Every key is optional; the result is clamped.
void from_json(const Json& json, CursorOverlaySettings& settings);

}  // namespace quillant
