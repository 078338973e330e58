#pragma once

#include <optional>

#include "Core/JSONForward.h"
#include "Editor/Project/BackgroundPresets.h"
#include "Editor/Project/BackgroundStyle.h"
#include "Editor/Project/CursorOverlaySettings.h"
#include "Editor/Project/VideoCropSelection.h"
#include "Editor/Project/VideoInsetBalance.h"
#include "Editor/Timeline/FacecamSettings.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"

namespace quillant {

/// How the video is framed and what is drawn over it. The member values are the defaults.
struct ProjectVideoEditorState {
  BackgroundStyle background = BackgroundPresets::default_();
  double padding = 18;
  double borderRadius = 12;
  double shadow = 0.35;
  double backgroundBlur = 0;
  double inset = 0;
  SerializableColor insetColor = SerializableColor::fromHex("276FAA");
  double insetOpacity = 1;
  VideoInsetBalance insetBalance;
  VideoCropSelection cropSelection;
  CursorOverlaySettings cursorOverlay;
  std::optional<FacecamSettings> facecamSettings;

  friend bool operator==(const ProjectVideoEditorState&, const ProjectVideoEditorState&) = default;
};

/// Everything that the editor keeps of a project.
struct ProjectEditorState {
  TimelineEditSnapshot timelineEdits;
  std::optional<ProjectVideoEditorState> video;

  friend bool operator==(const ProjectEditorState&, const ProjectEditorState&) = default;
};

void to_json(Json& json, const ProjectVideoEditorState& state);
/// Every key is optional; the inset's balance and the cursor's settings come out clamped.
void from_json(const Json& json, ProjectVideoEditorState& state);
void to_json(Json& json, const ProjectEditorState& state);
void from_json(const Json& json, ProjectEditorState& state);

}  // namespace quillant
