#include "Linux/X11/X11Desktop.h"

namespace quillant {

bool X11Desktop::isReady() {
  if (const auto now = std::chrono::steady_clock::now(); now >= refreshAt_) {
    refreshAt_ = now + std::chrono::seconds(1);
    try {
      if (!connection_ || !connection_->isAlive())
        connection_ = std::make_unique<X11Connection>(displayName_);
      // Some events come unasked; nobody else takes them out of the queue.
      while (X11Reply<xcb_generic_event_t>(xcb_poll_for_event(connection_->get()))) continue;
      layout_ = X11Layout::read(*connection_);
    } catch (const X11Error&) {
      connection_.reset();
    }
  }
  return connection_ && connection_->isAlive();
}

}  // namespace quillant
