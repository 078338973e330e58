#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "quillant/Models/CameraPreview.h"
#include "quillant/Models/Permissions.h"
#include "quillant/Models/SourceMode.h"

namespace quillant {

/// What the panel asks for.
struct PopoverActions {
  std::function<void(SourceMode)> selectMode;
  std::function<void(std::uint32_t displayID)> selectDisplay;
  std::function<void(std::uint32_t windowID)> selectWindow;
  std::function<void(bool on)> setMic;
  std::function<void(std::optional<std::string> deviceID)> selectMic;  ///< Without an id the default one.
  std::function<void(bool on)> setSystemAudio;
  std::function<void(bool on)> setCamera;
  std::function<void()> toggleRecord;
  std::function<void(PermissionKind)> requestPermission;
  std::function<void(PermissionKind)> openSettingsPane;
  std::function<void()> openLibrary;
  std::function<void()> restart;
  std::function<void()> manageStorage;
  std::shared_ptr<CameraPreview> cameraSession;  ///< Null where there is nothing to preview, as in pictures.
};

}  // namespace quillant
