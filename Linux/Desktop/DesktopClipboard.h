#pragma once

#include <memory>

#include "QuillantCloud/ClipboardWriting.h"

namespace quillant::DesktopClipboard {

/// The clipboard of the session's display server. A text stays there by way of a small program that offers it
/// until something else is copied: wl-copy, or xclip.
std::unique_ptr<ClipboardWriting> make();

}  // namespace quillant::DesktopClipboard
