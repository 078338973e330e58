#include "quillant/Models/PopoverViewState.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "Core/ByteSize.h"
#include "quillant/Models/DiskStatus.h"
#include "quillant/Models/SourceEnumerator.h"

namespace quillant {

namespace {

using Phase = RecordingCoordinator::Phase;
using Banner = PopoverViewState::Banner;

bool mayRecordScreen(const Permissions& permissions) {
  return permissions.screenRecording == PermissionState::granted;
}

Banner banner(const PopoverInputs& inputs) {
  if (inputs.update) return {*inputs.update};
  switch (diskStatus(inputs.freeBytes)) {
    case DiskStatus::blocked:
      return {Banner::DiskBlock{ByteSize::fileSize(inputs.freeBytes)}};
    case DiskStatus::warn:
      return {Banner::DiskWarn{ByteSize::fileSize(inputs.freeBytes)}};
    case DiskStatus::ok:
      break;
  }
  return {};
}

RecordButton recordButton(const PopoverInputs& inputs) {
  if (inputs.phase == Phase::recording || inputs.phase == Phase::paused)
    return {.title = "Stop Recording", .enabled = true, .isRecording = true};
  if (!mayRecordScreen(inputs.permissions)) return {.title = "Grant access to record"};
  if (diskStatus(inputs.freeBytes) == DiskStatus::blocked) return {.title = "Waiting for disk space"};
  if (inputs.mode == SourceMode::area) return {.title = "Select Area…", .enabled = inputs.canSelectArea()};
  return {.title = "Start Recording", .enabled = inputs.canRecord()};
}

std::vector<DisplayTile> displayTiles(const PopoverInputs& inputs) {
  std::vector<DisplayTile> tiles;
  for (const auto& display : inputs.displays) {
    const auto picture = inputs.thumbnails.find(display.id);
    const bool hasPicture = picture != inputs.thumbnails.end() && picture->second;
    tiles.push_back(
        {.id = display.id,
         .name = display.name.empty() ? fmt::format("Display {}", tiles.size() + 1) : display.name,
         .isMain = display.isMain,
         .isSelected = display.id == inputs.selectedDisplayID,
         .thumbnail = hasPicture ? picture->second : nullptr,
         .isLive = hasPicture && inputs.popoverOpen});
  }
  return tiles;
}

std::vector<WindowRow> windowRows(const PopoverInputs& inputs) {
  std::vector<WindowRow> rows;
  for (const auto& window : inputs.windows)
    rows.push_back({.id = window.id,
                    .title = SourceEnumerator::title(window),
                    .appName = window.appName,
                    .isSelected = window.id == inputs.selectedWindowID});
  return rows;
}

/// The chosen one's, else that of the default one, which is the first.
std::string micName(const PopoverInputs& inputs) {
  if (inputs.mics.empty()) return {};
  const auto chosen = std::ranges::find_if(
      inputs.mics, [&](const MicOption& option) { return option.id == inputs.selectedMicID; });
  return (chosen == inputs.mics.end() ? inputs.mics.front() : *chosen).name;
}

struct BannerHeading {
  std::string operator()(const Banner::DiskBlock&) const { return "Low disk space"; }
  template <class Other>
  std::string operator()(const Other&) const {
    return {};
  }
};

struct BannerText {
  std::string operator()(const Banner::None&) const { return {}; }
  std::string operator()(const UpdateProgress& update) const {
    return fmt::format("Updating to Quillant {} — {:.0f} %", update.version,
                       std::floor(std::clamp(update.fraction, 0.0, 1.0) * 100));
  }
  std::string operator()(const Banner::DiskWarn& disk) const {
    return disk.free + " left — a long recording could stop early. You can still record.";
  }
  std::string operator()(const Banner::DiskBlock& disk) const {
    return fmt::format(
        "Quillant keeps 2 GB free so a recording never dies mid-session. You have {}. Free some "
        "space and try again.",
        disk.free);
  }
};

}  // namespace

std::string PopoverViewState::Banner::heading() const {
  return std::visit(BannerHeading{}, kind);
}

std::string PopoverViewState::Banner::text() const {
  return std::visit(BannerText{}, kind);
}

StartConditions PopoverInputs::startConditions() const {
  return {.phase = phase,
          .mayRecordScreen = quillant::mayRecordScreen(permissions),
          .freeBytes = freeBytes,
          .mode = mode,
          .hasWindow = selectedWindowID.has_value(),
          .hasDisplay = !displays.empty(),
          .sourceProblem = sourceProblem};
}

bool PopoverInputs::canRecord() const {
  return mode != SourceMode::area && !StartRefusal::of(startConditions());
}

bool PopoverInputs::canSelectArea() const {
  return mode == SourceMode::area && !StartRefusal::of(startConditions());
}

PopoverViewState recompute(const PopoverInputs& inputs) {
  const auto& permissions = inputs.permissions;
  return {.banner = banner(inputs),
          .mode = inputs.mode,
          .showPermissions = !mayRecordScreen(permissions),
          .permissions = {{PermissionKind::screenRecording, permissions.screenRecording},
                          {PermissionKind::microphone, permissions.microphone},
                          {PermissionKind::camera, permissions.camera}},
          .showRestartCard = permissions.screenRecording == PermissionState::grantedAfterRestart,
          .displays = displayTiles(inputs),
          .windows = windowRows(inputs),
          .micOn = inputs.micOn,
          .systemAudioOn = inputs.systemAudioOn,
          .cameraOn = inputs.cameraOn,
          .micDeviceName = micName(inputs),
          .micDevices = inputs.mics,
          .selectedMicID = inputs.selectedMicID,
          .micNeedsPermission = permissions.microphone != PermissionState::granted,
          .micLevel = inputs.micLevel,
          .cameraDeviceName = inputs.cameras.empty() ? std::string() : inputs.cameras.front().name,
          .cameraPreviewActive = inputs.popoverOpen && inputs.cameraOn,
          .record = recordButton(inputs),
          .shortcutLabel = inputs.shortcutLabel};
}

}  // namespace quillant
