#pragma once

#include <cstddef>

#include "Core/Task.h"
#include "quillant/Models/Alert.h"

/// An alert as a window of its own, in front of everything.
namespace quillant::AlertDialog {

/// The index of the button that was pressed; to close the window is to press the one of role cancel. Await it
/// on the windows' thread. Nothing else is held up meanwhile.
Task<std::size_t> ask(Alert alert);

}  // namespace quillant::AlertDialog
