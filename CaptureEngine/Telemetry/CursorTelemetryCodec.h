#pragma once

#include <string>
#include <string_view>

#include "CaptureEngine/Telemetry/CursorTelemetryPayload.h"

/// The text of a telemetry file. An hour has 216,000 samples, so neither direction builds a tree of it.
namespace quillant::CursorTelemetryCodec {

/// JSON in UTF-8, one sample or click a line.
std::string encode(const CursorTelemetryPayload& payload);

/// Reads what `encode` writes, and any JSON with the same keys. Every key is required, unknown ones are
/// ignored. Throws `JSONError` and nothing else; its path names the place, as "samples[3].x".
CursorTelemetryPayload decode(std::string_view text);

}  // namespace quillant::CursorTelemetryCodec
