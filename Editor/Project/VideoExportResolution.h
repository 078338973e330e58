#pragma once

#include "Core/RawTexts.h"

namespace quillant {

/// The sizes that an export offers.
enum class VideoExportResolution { source, p480, p720, p1080, twoK, fourK, custom };

template <>
inline constexpr auto rawTexts<VideoExportResolution> = std::to_array<RawText<VideoExportResolution>>({
    {VideoExportResolution::source, "source"},
    {VideoExportResolution::p480, "p480"},
    {VideoExportResolution::p720, "p720"},
    {VideoExportResolution::p1080, "p1080"},
    {VideoExportResolution::twoK, "twoK"},
    {VideoExportResolution::fourK, "fourK"},
    {VideoExportResolution::custom, "custom"},
});

}  // namespace quillant
