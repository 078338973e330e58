#include "Editor/Project/ProjectEditorState.h"

#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto fieldsOfVideo = [](auto& state, const auto& field) {
  field.orDefault("background", state.background);
  field.orDefault("padding", state.padding);
  field.orDefault("borderRadius", state.borderRadius);
  field.orDefault("shadow", state.shadow);
  field.orDefault("backgroundBlur", state.backgroundBlur);
  field.orDefault("inset", state.inset);
  field.orDefault("insetColor", state.insetColor);
  field.orDefault("insetOpacity", state.insetOpacity);
  field.orDefault("insetBalance", state.insetBalance);
  field.orDefault("cropSelection", state.cropSelection);
  field.orDefault("cursorOverlay", state.cursorOverlay);
  field("facecamSettings", state.facecamSettings);
};

}  // namespace

void to_json(Json& json, const ProjectVideoEditorState& state) {
  JSON::writeFields(json, state, fieldsOfVideo);
}

void from_json(const Json& json, ProjectVideoEditorState& state) {
  JSON::readFields(json, state, fieldsOfVideo);
  state.insetBalance = state.insetBalance.clamped();
}

namespace {

constexpr auto fields = [](auto& state, const auto& field) {
  field.orDefault("timelineEdits", state.timelineEdits);
  field("video", state.video);
};

}  // namespace

void to_json(Json& json, const ProjectEditorState& state) {
  JSON::writeFields(json, state, fields);
}

void from_json(const Json& json, ProjectEditorState& state) {
  JSON::readFields(json, state, fields);
}

}  // namespace quillant
