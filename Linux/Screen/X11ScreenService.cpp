#include "Linux/Screen/X11ScreenService.h"

#include "Linux/Screen/X11ScreenSession.h"

namespace quillant {

ShareableContent X11ScreenService::content() try {
  X11Connection x(displayName_, patience_);
  return X11ScreenSession::content(x);
} catch (const X11Error& error) {
  throw ScreenError(ScreenError::Kind::unavailable, error.description());
}

Task<std::unique_ptr<ScreenSession>> X11ScreenService::openSession(CaptureOptions options) {
  try {
    co_return X11ScreenSession::open(displayName_, patience_, options);
  } catch (const X11Error& error) {
    throw ScreenError(ScreenError::Kind::unavailable, error.description());
  }
}

}  // namespace quillant
