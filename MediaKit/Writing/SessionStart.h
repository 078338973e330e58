#pragma once

// Internal to this library's sources.

#include <cstdint>
#include <vector>

#include "Core/MediaTime.h"
#include "MediaKit/Reading/MovieBoxes.h"

namespace quillant {

/// The time on the samples' clock that became a recorded file's zero. It stands in the file's movie box, in a
/// box of the type "uuid" with a user type of our own: a 64-bit value and a 32-bit timescale. Throws
/// `MediaError` of kind unreadable for boxes that are none.
namespace SessionStart {

/// A copy of a whole movie box that has it.
std::vector<std::uint8_t> added(MovieBoxes::Bytes movie, MediaTime start);
/// Invalid for a file that has none. Reads the heads of boxes and nothing else.
MediaTime read(const MovieBoxes::File& file);

}  // namespace SessionStart
}  // namespace quillant
