#pragma once

#include "CaptureEngine/CaptureServices.h"
#include "quillant/Models/Permissions.h"

namespace quillant {

/// What this platform lets the program record. An X server has no permission to ask for, and none of the
/// others is asked for by the program: the sound server and the camera's device refuse, or do not.
class DesktopPermissions : public PermissionAsking {
 public:
  /// The services outlive it.
  explicit DesktopPermissions(CaptureServices services) : services_(services) {}

  Task<Permissions> current() override;
  Task<> request(PermissionKind kind) override;

 private:
  static Task<Permissions> ask(CaptureServices services);

  const CaptureServices services_;
};

}  // namespace quillant
