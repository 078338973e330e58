#include "quillant/DesktopPermissions.h"

#include "Core/DiskExecutor.h"

namespace quillant {

namespace {

PermissionState state(bool isAllowed) {
  return isAllowed ? PermissionState::granted : PermissionState::denied;
}

}  // namespace

Task<Permissions> DesktopPermissions::current() {
  // A sound server that does not answer is waited for.
  return runOn(diskExecutor(), ask(services_));
}

Task<> DesktopPermissions::request(PermissionKind) {
  co_return;
}

Task<Permissions> DesktopPermissions::ask(CaptureServices services) {
  Permissions permissions{.screenRecording = PermissionState::granted};
  const bool mayHear = co_await services.sound->requestMicrophoneAccess();
  permissions.microphone = state(mayHear);
  const bool maySee = co_await services.camera->requestAccess();
  permissions.camera = state(maySee);
  co_return permissions;
}

}  // namespace quillant
