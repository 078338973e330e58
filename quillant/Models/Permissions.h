#pragma once

#include "Core/Task.h"

namespace quillant {

/// What a recording needs the user's leave for.
enum class PermissionKind { screenRecording, microphone, camera };

enum class PermissionState {
  granted,
  notDetermined,  ///< The user has not been asked.
  denied,
  grantedAfterRestart,  ///< The user has agreed, and the system will let only a fresh start of the program.
};

struct Permissions {
  PermissionState screenRecording = PermissionState::notDetermined;
  PermissionState microphone = PermissionState::notDetermined;
  PermissionState camera = PermissionState::notDetermined;

  friend bool operator==(const Permissions&, const Permissions&) = default;
};

/// What the system says about them.
class PermissionAsking {
 public:
  virtual ~PermissionAsking() = default;
  /// As they are now. Does not hold up the thread that it is awaited on. Throws nothing.
  virtual Task<Permissions> current() = 0;
  /// Has the system ask the user, or shows where the user can agree; ends when that has been shown. Throws
  /// nothing.
  virtual Task<> request(PermissionKind kind) = 0;
};

}  // namespace quillant
