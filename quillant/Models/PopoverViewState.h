#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "CaptureEngine/ScreenService.h"
#include "Core/PixelBuffer.h"
#include "quillant/Models/CameraPreview.h"
#include "quillant/Models/MicMonitor.h"
#include "quillant/Models/Permissions.h"
#include "quillant/Models/SourceMode.h"
#include "quillant/Models/StartRefusal.h"

namespace quillant {

struct DisplayTile {
  std::uint32_t id = 0;
  std::string name;
  bool isMain = false;
  bool isSelected = false;
  PixelBufferRef thumbnail;  ///< What it shows, small; null while there is none.
  bool isLive = false;       ///< Whether the picture is of now.
  friend bool operator==(const DisplayTile&, const DisplayTile&) = default;
};

struct WindowRow {
  std::uint32_t id = 0;
  std::string title;
  std::string appName;
  bool isSelected = false;
  friend bool operator==(const WindowRow&, const WindowRow&) = default;
};

struct PermissionRow {
  PermissionKind kind = PermissionKind::screenRecording;
  PermissionState state = PermissionState::notDetermined;
  friend bool operator==(const PermissionRow&, const PermissionRow&) = default;
};

struct RecordButton {
  std::string title;
  bool enabled = false;
  bool isRecording = false;
  friend bool operator==(const RecordButton&, const RecordButton&) = default;
};

/// An update that is being installed.
struct UpdateProgress {
  std::string version;
  double fraction = 0;  ///< Done, from 0 to 1.
  friend bool operator==(const UpdateProgress&, const UpdateProgress&) = default;
};

/// What the panel shows.
struct PopoverViewState {
  /// What stands above everything else. Sizes are in words: "1.9 GB".
  struct Banner {
    struct None {
      friend bool operator==(const None&, const None&) = default;
    };
    struct DiskWarn {
      std::string free;
      friend bool operator==(const DiskWarn&, const DiskWarn&) = default;
    };
    struct DiskBlock {
      std::string free;
      friend bool operator==(const DiskBlock&, const DiskBlock&) = default;
    };
    std::variant<None, UpdateProgress, DiskWarn, DiskBlock> kind;

    std::string heading() const;  ///< Empty where the text says it all.
    std::string text() const;
    friend bool operator==(const Banner&, const Banner&) = default;
  };

  Banner banner;
  SourceMode mode = SourceMode::display;
  bool showPermissions = false;  ///< In place of what there is to record.
  std::vector<PermissionRow> permissions;
  bool showRestartCard = false;  ///< The user has agreed, and the program has to be started again.
  std::vector<DisplayTile> displays;
  std::vector<WindowRow> windows;
  bool micOn = false;
  bool systemAudioOn = false;
  bool cameraOn = false;
  std::string micDeviceName;  ///< Empty: there is none.
  std::vector<MicOption> micDevices;
  std::optional<std::string> selectedMicID;
  bool micNeedsPermission = false;
  double micLevel = 0;           ///< From 0 to 1.
  std::string cameraDeviceName;  ///< Empty: there is none.
  bool cameraPreviewActive = false;
  RecordButton record;
  std::string shortcutLabel;

  friend bool operator==(const PopoverViewState&, const PopoverViewState&) = default;
};

/// All that the panel's state is made of.
struct PopoverInputs {
  RecordingCoordinator::Phase phase = RecordingCoordinator::Phase::idle;
  SourceMode mode = SourceMode::display;
  std::optional<std::uint32_t> selectedDisplayID;
  std::optional<std::uint32_t> selectedWindowID;
  bool micOn = false;
  bool systemAudioOn = false;
  bool cameraOn = false;
  bool popoverOpen = false;
  Permissions permissions;
  std::int64_t freeBytes = 0;
  std::vector<DisplayInfo> displays;
  std::vector<WindowInfo> windows;
  std::map<std::uint32_t, PixelBufferRef> thumbnails;
  std::optional<std::string> sourceProblem;
  std::vector<MicOption> mics;
  std::optional<std::string> selectedMicID;
  double micLevel = 0;
  std::vector<CameraOption> cameras;
  std::optional<UpdateProgress> update;
  std::string shortcutLabel;

  StartConditions startConditions() const;
  /// Whether a press would record what is chosen; never in area mode.
  bool canRecord() const;
  /// Whether a press would let an area be selected; only in area mode.
  bool canSelectArea() const;
};

PopoverViewState recompute(const PopoverInputs& inputs);

}  // namespace quillant
