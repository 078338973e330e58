#pragma once

#include <string>

namespace quillant {

/// Whole seconds as a player shows them: "0:07", "12:34", "1:02:03". Fractions fall away; a time before 0, or
/// none at all, is "0:00".
std::string formatPlaybackTime(double seconds);

}  // namespace quillant
