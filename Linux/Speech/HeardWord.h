#pragma once

#include <optional>
#include <string_view>

#include "Editor/Timeline/TimelineCaptions.h"

namespace quillant::HeardWord {

/// A word as an engine tells it, without white space around it and with an end that is not before its start;
/// none for what is no word: nothing, silences and noises ("<sil>", "[NOISE]", "++BREATH++"). Bytes that are
/// not UTF-8 are left out.
std::optional<TimelineCaptionWord> of(std::string_view text, double start, double end);

}  // namespace quillant::HeardWord
