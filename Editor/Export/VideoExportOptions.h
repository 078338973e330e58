#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "Core/Geometry.h"
#include "Core/RawTexts.h"
#include "Editor/Composition/VideoBackgroundStyling.h"
#include "Editor/Project/CursorOverlaySettings.h"
#include "Editor/Project/VideoCropSelection.h"
#include "Editor/Project/VideoExportResolution.h"
#include "Editor/Timeline/FacecamSettings.h"

namespace quillant {

enum class VideoExportFormat { mov, mp4, gif };

template <>
inline constexpr auto rawTexts<VideoExportFormat> = std::to_array<RawText<VideoExportFormat>>(
    {{VideoExportFormat::mov, "mov"}, {VideoExportFormat::mp4, "mp4"}, {VideoExportFormat::gif, "gif"}});

enum class VideoExportFrameRate { source, fps15, fps20, fps24, fps25, fps30, fps60 };

template <>
inline constexpr auto rawTexts<VideoExportFrameRate> =
    std::to_array<RawText<VideoExportFrameRate>>({{VideoExportFrameRate::source, "source"},
                                                  {VideoExportFrameRate::fps15, "fps15"},
                                                  {VideoExportFrameRate::fps20, "fps20"},
                                                  {VideoExportFrameRate::fps24, "fps24"},
                                                  {VideoExportFrameRate::fps25, "fps25"},
                                                  {VideoExportFrameRate::fps30, "fps30"},
                                                  {VideoExportFrameRate::fps60, "fps60"}});

/// Frames a second; none for the source's own.
constexpr std::optional<int> framesPerSecond(VideoExportFrameRate rate) {
  switch (rate) {
    case VideoExportFrameRate::source:
      return std::nullopt;
    case VideoExportFrameRate::fps15:
      return 15;
    case VideoExportFrameRate::fps20:
      return 20;
    case VideoExportFrameRate::fps24:
      return 24;
    case VideoExportFrameRate::fps25:
      return 25;
    case VideoExportFrameRate::fps30:
      return 30;
    case VideoExportFrameRate::fps60:
      return 60;
  }
  return std::nullopt;
}

enum class VideoExportQuality { low, medium, highSource };

template <>
inline constexpr auto rawTexts<VideoExportQuality> =
    std::to_array<RawText<VideoExportQuality>>({{VideoExportQuality::low, "low"},
                                                {VideoExportQuality::medium, "medium"},
                                                {VideoExportQuality::highSource, "highSource"}});

enum class VideoExportGIFSize { medium, large, original };

template <>
inline constexpr auto rawTexts<VideoExportGIFSize> =
    std::to_array<RawText<VideoExportGIFSize>>({{VideoExportGIFSize::medium, "medium"},
                                                {VideoExportGIFSize::large, "large"},
                                                {VideoExportGIFSize::original, "original"}});

/// The shape of the output.
enum class VideoPreviewAspectPreset { auto_, wide, square, classic, vertical, tall, portrait };

template <>
inline constexpr auto rawTexts<VideoPreviewAspectPreset> =
    std::to_array<RawText<VideoPreviewAspectPreset>>({{VideoPreviewAspectPreset::auto_, "auto"},
                                                      {VideoPreviewAspectPreset::wide, "wide"},
                                                      {VideoPreviewAspectPreset::square, "square"},
                                                      {VideoPreviewAspectPreset::classic, "classic"},
                                                      {VideoPreviewAspectPreset::vertical, "vertical"},
                                                      {VideoPreviewAspectPreset::tall, "tall"},
                                                      {VideoPreviewAspectPreset::portrait, "portrait"}});

/// Every choice of an export.
struct VideoExportOptions {
  VideoExportResolution resolution = VideoExportResolution::source;
  VideoExportFormat format = VideoExportFormat::mov;
  VideoExportFrameRate frameRate = VideoExportFrameRate::fps30;
  VideoExportQuality quality = VideoExportQuality::highSource;
  VideoExportGIFSize gifSize = VideoExportGIFSize::medium;
  bool gifLoops = true;
  VideoPreviewAspectPreset aspectPreset = VideoPreviewAspectPreset::auto_;
  VideoBackgroundStyling styling;
  std::optional<VideoCropSelection> cropSelection;
  std::optional<Size> customOutputSize;  ///< Pixels.
  CursorOverlaySettings cursorOverlay = CursorOverlaySettings::hidden();
  std::optional<std::filesystem::path> cursorTelemetry;
  std::optional<std::filesystem::path> facecamVideo;
  std::optional<std::int64_t> facecamOffsetMs;  ///< The camera's start less the screen's.
  std::optional<FacecamSettings> facecamFallbackSettings;
};

struct VideoExportResult {
  bool didPassthrough = false;  ///< The recording's own samples were copied.
  Size outputSize;              ///< Pixels.

  friend bool operator==(const VideoExportResult&, const VideoExportResult&) = default;
};

}  // namespace quillant
