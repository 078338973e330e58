#pragma once

#include <optional>
#include <string>

#include "Editor/Project/ProjectEditorState.h"

namespace quillant {

/// The identity of an edit: equal for two edits that make the same video, whatever road led to each, and
/// different where a field differs that shows. 64 hexadecimal digits; "unhashable" where a number in the edit
/// is none that JSON can hold. Pure; any thread. Throws nothing.
std::string editFingerprint(const TimelineEditSnapshot& edits, const ProjectVideoEditorState& video);

/// Whether both are the fingerprint of one edit. None, and "unhashable", may be of any.
bool isSameEdit(const std::optional<std::string>& one, const std::optional<std::string>& other);

}  // namespace quillant
