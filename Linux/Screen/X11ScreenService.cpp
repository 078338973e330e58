#include "Linux/Screen/X11ScreenService.h"

#include "Core/Environment.h"
#include "Linux/Screen/X11ScreenSession.h"
#include "Linux/X11/Xwayland.h"

namespace quillant {

namespace {

/// Without an X server there is nobody to ask but the environment.
ScreenError withoutServer(const std::string& displayName, const X11Error& error) {
  const bool isNamed = !displayName.empty() || !Environment::value("DISPLAY").empty();
  if (!isNamed && !Environment::value("WAYLAND_DISPLAY").empty())
    return {ScreenError::Kind::notRecordable, Xwayland::whyNotRecordable};
  return {ScreenError::Kind::unavailable, error.description()};
}

}  // namespace

ShareableContent X11ScreenService::content() try {
  X11Connection x(displayName_, patience_);
  return X11ScreenSession::content(x);
} catch (const X11Error& error) {
  throw withoutServer(displayName_, error);
}

Task<std::unique_ptr<ScreenSession>> X11ScreenService::openSession(CaptureOptions options) {
  try {
    co_return X11ScreenSession::open(displayName_, patience_, options);
  } catch (const X11Error& error) {
    throw withoutServer(displayName_, error);
  }
}

}  // namespace quillant
