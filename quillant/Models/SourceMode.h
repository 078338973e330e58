#pragma once

#include "Core/RawTexts.h"

namespace quillant {

/// What of the desktop a recording takes.
enum class SourceMode { display, window, area };

template <>
inline constexpr auto rawTexts<SourceMode> = std::to_array<RawText<SourceMode>>({
    {SourceMode::display, "display"},
    {SourceMode::window, "window"},
    {SourceMode::area, "area"},
});

}  // namespace quillant
