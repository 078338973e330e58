#include "Editor/Project/EditFingerprint.h"

#include "Core/JSON.h"
#include "Core/SHA256.h"

namespace quillant {

namespace {

constexpr const char* unhashable = "unhashable";

/// What is hashed. Identities are left out, and values that are drawn alike are the same value.
struct Fingerprintable {
  TimelineEditSnapshot snapshot;
  ProjectVideoEditorState video;  ///< Backdrop and framing, cursor, crop, camera.
};

void to_json(Json& json, const Fingerprintable& edit) {
  json["snapshot"] = edit.snapshot;
  json["video"] = edit.video;
}

Fingerprintable fingerprintable(const TimelineEditSnapshot& edits, ProjectVideoEditorState video) {
  video.cursorOverlay = video.cursorOverlay.clamped();
  video.insetBalance = video.insetBalance.clamped();
  if (video.facecamSettings) video.facecamSettings = video.facecamSettings->clamped();
  return {edits.contentOnly(), std::move(video)};
}

}  // namespace

std::string editFingerprint(const TimelineEditSnapshot& edits, const ProjectVideoEditorState& video) {
  try {
    // Objects are written with sorted keys.
    return SHA256::hexadecimal(SHA256::of(JSON::compact(Json(fingerprintable(edits, video)))));
  } catch (const std::exception&) {
    return unhashable;
  }
}

bool isSameEdit(const std::optional<std::string>& one, const std::optional<std::string>& other) {
  return one && one == other && *one != unhashable;
}

}  // namespace quillant
