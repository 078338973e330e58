#include "Editor/Project/ProjectEditorState.h"

#include "Core/JSON.h"

namespace quillant {

void to_json(Json& json, const ProjectVideoEditorState& state) {
  json["background"] = state.background;
  json["padding"] = state.padding;
  json["borderRadius"] = state.borderRadius;
  json["shadow"] = state.shadow;
  json["backgroundBlur"] = state.backgroundBlur;
  json["inset"] = state.inset;
  json["insetColor"] = state.insetColor;
  json["insetOpacity"] = state.insetOpacity;
  json["insetBalance"] = state.insetBalance;
  json["cropSelection"] = state.cropSelection;
  json["cursorOverlay"] = state.cursorOverlay;
  if (state.facecamSettings) json["facecamSettings"] = *state.facecamSettings;
}

void from_json(const Json& json, ProjectVideoEditorState& state) {
  const ProjectVideoEditorState defaults;
  state.background = JSON::orDefault(json, "background", defaults.background);
  state.padding = JSON::orDefault(json, "padding", defaults.padding);
  state.borderRadius = JSON::orDefault(json, "borderRadius", defaults.borderRadius);
  state.shadow = JSON::orDefault(json, "shadow", defaults.shadow);
  state.backgroundBlur = JSON::orDefault(json, "backgroundBlur", defaults.backgroundBlur);
  state.inset = JSON::orDefault(json, "inset", defaults.inset);
  state.insetColor = JSON::orDefault(json, "insetColor", defaults.insetColor);
  state.insetOpacity = JSON::orDefault(json, "insetOpacity", defaults.insetOpacity);
  state.insetBalance = JSON::orDefault(json, "insetBalance", defaults.insetBalance).clamped();
  state.cropSelection = JSON::orDefault(json, "cropSelection", defaults.cropSelection);
  state.cursorOverlay = JSON::orDefault(json, "cursorOverlay", defaults.cursorOverlay);
  state.facecamSettings = JSON::optional<FacecamSettings>(json, "facecamSettings");
}

void to_json(Json& json, const ProjectEditorState& state) {
  json["timelineEdits"] = state.timelineEdits;
  if (state.video) json["video"] = *state.video;
}

void from_json(const Json& json, ProjectEditorState& state) {
  state.timelineEdits = JSON::orDefault(json, "timelineEdits", TimelineEditSnapshot{});
  state.video = JSON::optional<ProjectVideoEditorState>(json, "video");
}

}  // namespace quillant
