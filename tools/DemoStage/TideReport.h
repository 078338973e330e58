#pragma once

#include "Core/PixelBuffer.h"

/// A report of a harbour's tides over one week, with a chart and a table: what an office writes.
namespace quillant::TideReport {

/// The whole page, taller than any window.
PixelBufferRef page(int width);

}  // namespace quillant::TideReport
