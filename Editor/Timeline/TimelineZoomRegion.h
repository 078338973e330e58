#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Core/JSONForward.h"
#include "Core/RawTexts.h"
#include "Core/UUID.h"
#include "Editor/Timeline/TimelineSpan.h"

namespace quillant {

/// Who owns a zoom: generation may replace an automatic one, a manual one is the user's.
enum class TimelineZoomMode { auto_, manual };

template <>
inline constexpr auto rawTexts<TimelineZoomMode> = std::to_array<RawText<TimelineZoomMode>>(
    {{TimelineZoomMode::auto_, "auto"}, {TimelineZoomMode::manual, "manual"}});

enum class TimelineZoomEasing { smoothstep, easeOut, easeInOut };

template <>
inline constexpr auto rawTexts<TimelineZoomEasing> =
    std::to_array<RawText<TimelineZoomEasing>>({{TimelineZoomEasing::smoothstep, "smoothstep"},
                                                {TimelineZoomEasing::easeOut, "easeOut"},
                                                {TimelineZoomEasing::easeInOut, "easeInOut"}});

enum class TimelineZoomAnimationPreset { balanced, subtle, snappy, cinematic, guided };

template <>
inline constexpr auto rawTexts<TimelineZoomAnimationPreset> =
    std::to_array<RawText<TimelineZoomAnimationPreset>>({
        {TimelineZoomAnimationPreset::balanced, "balanced"},
        {TimelineZoomAnimationPreset::subtle, "subtle"},
        {TimelineZoomAnimationPreset::snappy, "snappy"},
        {TimelineZoomAnimationPreset::cinematic, "cinematic"},
        {TimelineZoomAnimationPreset::guided, "guided"},
    });

/// A stretch of the video that is shown magnified.
struct TimelineZoomRegion {
  UUID id;
  TimelineSpan span;    ///< Source seconds of the file that `source` names.
  double depth = 1.75;  ///< Magnification.
  double focusX = 0.5;  ///< 0...1 of the picture's width, from the left.
  double focusY = 0.5;  ///< 0...1 of the picture's height, from the top.
  TimelineZoomMode mode = TimelineZoomMode::manual;
  TimelineZoomAnimationPreset animationPreset = TimelineZoomAnimationPreset::balanced;
  /// Telemetry milliseconds of the click that an automatic zoom was made from.
  std::optional<std::int64_t> sourceClickTimestamp;
  std::optional<double> softness;            ///< Instead of the preset's.
  std::optional<TimelineZoomEasing> easing;  ///< Instead of the preset's.
  std::optional<bool> followsCursor;         ///< Instead of the preset's.
  std::optional<std::string> source;         ///< `TimelineSource::id`; none is the main recording.

  friend bool operator==(const TimelineZoomRegion&, const TimelineZoomRegion&) = default;
};

void to_json(Json& json, const TimelineZoomRegion& zoom);
/// A zoom without an id gets a fresh one.
void from_json(const Json& json, TimelineZoomRegion& zoom);

}  // namespace quillant
